/// @file
/// Internal: a string to look something up by.

#pragma once

#include <cstdint>
#include <string_view>

#include <Tavik/Core/String.h>

namespace Tavik::Impl {

/// A string that owns nothing. It holds a short string inline, so it compares and hashes as fast as a `String`, and
/// refers to a long one, so that looking a string up neither allocates nor uses the pool of long strings. The string it
/// was made of must outlive it. Trivially copyable.
class TextRef : private TextWords {
public:
    /// The empty string.
    TextRef() noexcept = default;

    /// Copies a short string, refers to the bytes of a long one.
    TextRef(std::string_view text) noexcept {  // NOLINT(google-explicit-constructor)
        if (text.size() <= inlineCapacity) {
            assignInline(text);
        } else {
            assignLong(text.data(), text.size(), bytesTag);
        }
    }

    /// Copies a short string, refers to the buffer of a long one.
    TextRef(const StrB& text) noexcept : TextWords(text) {}  // NOLINT(google-explicit-constructor)

    [[nodiscard]] std::string_view view() const noexcept {
        if (!isLong()) {
            return {inlineBytes(), tag()};
        }
        const bool isBuffer = tag() == StrB::bufferTag;
        return {isBuffer ? buffer()->bytes() : reinterpret_cast<const char*>(words_[0]), longSize()};
    }

    [[nodiscard]] bool empty() const noexcept { return words_[1] == 0; }

    /// The hash of the `String` with the same bytes.
    [[nodiscard]] std::uint64_t keyedHash() const noexcept {
        return isLong() ? StrB::hashBytes(view()) : StrB::hashWords(words_[0], words_[1]);
    }

    /// The deduplicated `String` with the same bytes.
    [[nodiscard]] StrB dedup() const noexcept {
        const bool isShared = !isLong() || (tag() == StrB::bufferTag && buffer()->pooled);
        return isShared ? StrB(static_cast<const TextWords&>(*this)) : StringCommon<char>::dedup(view());
    }

    /// A `String` with the same bytes, which shares the buffer that this refers to, if any.
    [[nodiscard]] StrB str() const noexcept {
        return tag() == bytesTag ? StrB(view()) : StrB(static_cast<const TextWords&>(*this));
    }

    [[nodiscard]] friend bool operator==(const StrB& left, const TextRef& right) noexcept { return right.equals(left); }
    /// The order of `String`.
    [[nodiscard]] friend bool operator<(const TextRef& left, const TextRef& right) noexcept {
        return left.view() < right.view();
    }

private:
    /// Marks words whose first one is the address of a long string's bytes.
    static constexpr std::uint64_t bytesTag = 0xfe;

    [[nodiscard]] bool equals(const StrB& other) const noexcept {
        return hasSameWords(other) || (isLong() && other.view() == view());
    }
    [[nodiscard]] StrB::Buffer* buffer() const noexcept { return reinterpret_cast<StrB::Buffer*>(words_[0]); }
};

}  // namespace Tavik::Impl
