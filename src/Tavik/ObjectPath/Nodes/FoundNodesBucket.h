/// @file
/// Internal: what the found nodes of all threads are kept in.

#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <Tavik/Core/ThreadSafety.h>
#include <Tavik/ObjectPath/Nodes/ReservedPages.h>

namespace Tavik::Impl {

/// What the buckets are made of. Tests choose other parts, to stop threads wherever they want.
template <typename Node>
struct FoundNodesParts {
    template <typename T>
    using Atomic = std::atomic<T>;
    using Reference = std::weak_ptr<const Node>;
    using Pages = ReservedPages;
    static constexpr std::size_t bucketsOfPage = 64;
    static constexpr std::size_t mostBuckets = 1U << 20;
    /// Their number stays as long as there are no more than this for each that a table of the present size needs.
    static constexpr std::size_t bucketsForEachWanted = 4;
};

/// A few weak references and their lock. All bytes of an empty bucket that is not locked are zero.
template <typename Parts>
struct alignas(64) TAVIK_CAPABILITY("bucket") FoundNodesBucket {
    static constexpr std::size_t slotCount = 3;

    using Reference = typename Parts::Reference;

    typename Parts::template Atomic<std::uint32_t> isLocked;
    std::array<std::uint32_t, slotCount> tags TAVIK_GUARDED_BY(this);  // 0 where there is no reference
    std::array<Reference, slotCount> references TAVIK_GUARDED_BY(this);

    [[nodiscard]] bool tryLock() noexcept TAVIK_TRY_ACQUIRE(true) {
        return isLocked.load(std::memory_order_relaxed) == 0 && isLocked.exchange(1) == 0;
    }
    void unlock() noexcept TAVIK_RELEASE() { isLocked.store(0, std::memory_order_release); }

    /// The slot for a new reference: that of its tag, one without a living node, or any.
    [[nodiscard]] std::size_t slotFor(std::uint32_t tag) const noexcept TAVIK_REQUIRES(this) {
        for (std::size_t slot = 0; slot < slotCount; ++slot) {
            if (tags[slot] == tag) {
                return slot;
            }
        }
        for (std::size_t slot = 0; slot < slotCount; ++slot) {
            if (references[slot].expired()) {
                return slot;
            }
        }
        return (tag >> 20) % slotCount;
    }
};

static_assert(sizeof(FoundNodesBucket<FoundNodesParts<int>>) == 64, "a cache line");

}  // namespace Tavik::Impl
