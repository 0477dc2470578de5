/// @file
/// Internal: address space that is reserved at once, and memory in it that is used and given back page by page.

#pragma once

#include <sys/mman.h>

#include <cstddef>

extern "C" {
/// The leak checker of the address sanitizer, where a program has one.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
[[gnu::weak]] void __lsan_register_root_region(const void* begin, std::size_t size);
}

namespace Tavik::Impl {

/// Functions of the kernel. All return null or `false` where it refuses, and change nothing then.
struct ReservedPages {
    /// Reserves address space, which may not be accessed yet. It takes no memory, not even in a process that locks all
    /// its memory. What is kept in it later counts as referred to for the leak checker.
    [[nodiscard]] static void* reserve(std::size_t size) noexcept {
        void* const space = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (space == MAP_FAILED) {
            return nullptr;
        }
        munlock(space, size);
        madvise(space, size, MADV_NOHUGEPAGE);  // the first access would take 2 MiB
        if (__lsan_register_root_region != nullptr) {
            __lsan_register_root_region(space, size);
        }
        return space;
    }

    /// Lets reserved pages be accessed. They are zero, and take memory from their first access on.
    [[nodiscard]] static bool makeUsable(void* begin, std::size_t size) noexcept {
        return mprotect(begin, size, PROT_READ | PROT_WRITE) == 0;
    }

    /// Gives the memory of pages back, which are zero from then on. The kernel refuses for memory that is locked.
    [[nodiscard]] static bool zero(void* begin, std::size_t size) noexcept {
        return madvise(begin, size, MADV_DONTNEED) == 0;
    }
};

}  // namespace Tavik::Impl
