#include <Tavik/Core/String.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <ostream>

#include <Tavik/Core/Assert.h>
#include <Tavik/Core/StringPool.h>

namespace Tavik::Impl {

StrB::Buffer* StrB::tryCreateBuffer(std::size_t capacity) noexcept {
    void* const memory = std::malloc(sizeof(Buffer) + capacity);
    return memory == nullptr ? nullptr : new (memory) Buffer{1, false, capacity, nullptr};
}

StrB::Buffer* StrB::createBuffer(std::size_t capacity) noexcept {
    Buffer* const created = tryCreateBuffer(capacity);
    if (created == nullptr) {
        vfmassertb("", __FILE__, __func__, __LINE__, "no memory for a string of {} bytes",
                   fmt::make_format_args(capacity));
    }
    return created;
}

void StrB::destroyBuffer(Buffer* buffer) noexcept {
    if (buffer->pooled) {
        StringPool::remove(buffer);
    }
    std::free(buffer);
}

void StrB::assignBuffer(std::string_view text) noexcept {
    Buffer* const created = createBuffer(text.size());
    std::memcpy(created->bytes(), text.data(), text.size());
    setBuffer(created, text.size());
}

void StrB::appendToBuffer(std::string_view text) noexcept {
    if (text.empty()) {
        return;  // `text` may be null
    }
    const std::string_view old = view();
    const std::size_t size = old.size() + text.size();
    const bool canGrowInPlace = hasBuffer() && !buffer()->pooled && size <= buffer()->capacity &&
                                buffer()->owners.load(std::memory_order_acquire) == 1;
    if (canGrowInPlace) {
        std::memcpy(buffer()->bytes() + old.size(), text.data(), text.size());
        setBuffer(buffer(), size);
        return;
    }
    Buffer* const grown = createBuffer(std::max(size, 2 * old.size()));
    std::memcpy(grown->bytes(), old.data(), old.size());
    std::memcpy(grown->bytes() + old.size(), text.data(), text.size());
    // Only now release the old bytes: `text` may be a part of them.
    if (hasBuffer()) {
        release();
    }
    setBuffer(grown, size);
}

StrB StringCommon<char>::dedupLong(std::string_view text) noexcept {
    return StringPool::share(text);
}

std::ostream& operator<<(std::ostream& out, const StrB& text) {
    return out << text.view();
}

}  // namespace Tavik::Impl
