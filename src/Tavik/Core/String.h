/// @file
/// The core library's string: a value of 16 bytes that holds short texts inline and shares long ones.

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include <Tavik/Core/Export.h>

namespace Tavik {
namespace Impl {

template <typename Char>
struct StringCommon;

/// A text of any bytes. Up to `inlineCapacity` bytes live in the object itself; a longer text lives in one
/// immutable, reference-counted buffer that copies share. Appending to a shared text copies it first.
///
/// No operation throws: a program that cannot allocate the buffer of a text ends with a message.
/// Threads: different objects may be used by different threads, also where they share a buffer.
class TAVIK_CORE_EXPORT StrB {
public:
    /// The longest text that needs no buffer.
    static constexpr std::size_t inlineCapacity = 15;

    /// The empty text. Constant time.
    constexpr StrB() noexcept = default;

    /// A copy of a NUL-terminated text.
    StrB(const char* text) noexcept : StrB(std::string_view(text)) {}  // NOLINT(google-explicit-constructor)

    /// A copy of `text`. Allocates only beyond `inlineCapacity` bytes.
    StrB(std::string_view text) noexcept {  // NOLINT(google-explicit-constructor)
        if (text.size() <= inlineCapacity) {
            assignInline(text);
        } else {
            assignBuffer(text);
        }
    }

    /// Shares a long text, copies a short one. Constant time.
    StrB(const StrB& other) noexcept {
        copyWords(other);
        if (hasBuffer()) {
            retain();
        }
    }

    /// Takes the text over and leaves `other` empty. Constant time.
    StrB(StrB&& other) noexcept {
        copyWords(other);
        other.clearWords();
    }

    /// Shares a long text, copies a short one.
    StrB& operator=(const StrB& other) noexcept {
        StrB copy(other);
        swap(copy);
        return *this;
    }

    /// Takes the text over and leaves `other` empty.
    StrB& operator=(StrB&& other) noexcept {
        StrB taken(std::move(other));
        swap(taken);
        return *this;
    }

    ~StrB() {
        if (hasBuffer()) {
            release();
        }
    }

    /// The bytes. Valid while this object is neither changed nor destroyed. Constant time.
    [[nodiscard]] std::string_view view() const noexcept {
        return hasBuffer() ? std::string_view(bufferBytes(), bufferSize()) : std::string_view(inlineBytes(), tag());
    }

    /// Whether the text has no bytes. Constant time.
    [[nodiscard]] bool empty() const noexcept { return words_[lastWord] == 0; }

    /// Makes the text empty and lets its buffer go.
    void clear() noexcept {
        if (hasBuffer()) {
            release();
        }
        clearWords();
    }

    /// Appends the bytes of `text`, which may be part of this text. Amortised linear in the size of `text`.
    void append(std::string_view text) noexcept {
        if (text.size() <= inlineCapacity && tag() <= inlineCapacity - text.size()) {
            appendInline(text);
        } else {
            appendToBuffer(text);
        }
    }

    /// Appends a NUL-terminated text.
    void append(const char* text) noexcept { append(std::string_view(text)); }

    /// Appends a copy of `other`, which may be this object. An empty text shares the buffer of `other`.
    void append(const StrB& other) noexcept {
        if (empty()) {
            *this = other;
        } else {
            append(other.view());
        }
    }

    /// Appends `other` and leaves it empty, unless it is this object. An empty text takes the buffer of `other`.
    void append(StrB&& other) noexcept {
        if (empty()) {
            *this = std::move(other);
            return;
        }
        append(other.view());
        if (this != &other) {
            other.clear();
        }
    }

    /// Three-way comparison by unsigned bytes, a prefix before the longer text: negative when this text is the lesser
    /// one, zero when both are equal.
    [[nodiscard]] int compare(const StrB& other) const noexcept { return view().compare(other.view()); }

    /// Text equality. Two short texts compare in constant time, as do two that share a buffer.
    friend bool operator==(const StrB& left, const StrB& right) noexcept {
        if (left.words_[lastWord] != right.words_[lastWord]) {
            return false;  // sizes differ
        }
        return left.sameLeadingWords(right) || (left.hasBuffer() && left.view() == right.view());
    }
    /// Text equality.
    friend bool operator==(const StrB& left, std::string_view right) noexcept { return left.view() == right; }
    /// Text equality.
    friend bool operator==(const StrB& left, const char* right) noexcept { return left.view() == right; }

    /// The order of `compare`, which makes it the order of `std::less<String>`.
    friend bool operator<(const StrB& left, const StrB& right) noexcept { return left.compare(right) < 0; }

    /// Hashes like the `std::string_view` of the text.
    template <typename H>
    friend H AbslHashValue(H state, const StrB& text) {
        return H::combine(std::move(state), text.view());
    }

private:
    friend struct StringCommon<char>;
    friend class StringPool;

    /// The head of a long text; the bytes follow it in memory. A buffer in the pool never changes, and its capacity
    /// is the size of its text.
    struct Buffer {
        std::atomic<std::uint32_t> owners;
        bool pooled;
        std::size_t capacity;
        Buffer* next;  // in the pool

        [[nodiscard]] char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
    };

    // A short text fills the leading bytes, unused ones are zero, and the last byte holds its size. A long text has
    // the address of its buffer in the first word, its size in the last word and `bufferTag` in the last byte. A text
    // that fits inline is always held inline, so equal texts have equal last words.
    static constexpr std::size_t wordCount = (inlineCapacity + 1) / sizeof(std::uint64_t);
    static constexpr std::size_t lastWord = wordCount - 1;
    static constexpr unsigned tagShift = 56;
    static constexpr std::uint64_t bufferTag = 0xff;
    static constexpr std::uint64_t sizeMask = (std::uint64_t{1} << tagShift) - 1;

    [[nodiscard]] std::size_t tag() const noexcept { return words_[lastWord] >> tagShift; }
    [[nodiscard]] bool hasBuffer() const noexcept { return tag() == bufferTag; }
    [[nodiscard]] const char* inlineBytes() const noexcept { return reinterpret_cast<const char*>(words_); }
    [[nodiscard]] char* inlineBytes() noexcept { return reinterpret_cast<char*>(words_); }
    [[nodiscard]] Buffer* buffer() const noexcept { return reinterpret_cast<Buffer*>(words_[0]); }
    [[nodiscard]] const char* bufferBytes() const noexcept { return buffer()->bytes(); }
    [[nodiscard]] std::size_t bufferSize() const noexcept { return words_[lastWord] & sizeMask; }

    void setBuffer(Buffer* buffer, std::size_t size) noexcept {
        clearWords();
        words_[0] = reinterpret_cast<std::uint64_t>(buffer);
        words_[lastWord] = bufferTag << tagShift | size;
    }
    void setInlineSize(std::size_t size) noexcept {
        words_[lastWord] = (words_[lastWord] & sizeMask) | std::uint64_t{size} << tagShift;
    }
    void assignInline(std::string_view text) noexcept {
        copyShort(inlineBytes(), text);
        setInlineSize(text.size());
    }
    void appendInline(std::string_view text) noexcept {
        const std::size_t size = tag();
        copyShort(inlineBytes() + size, text);
        setInlineSize(size + text.size());
    }

    /// Copies up to `inlineCapacity` bytes by two loads and stores that may overlap, which beats a call of memcpy.
    static void copyShort(char* to, std::string_view text) noexcept {
        const char* const from = text.data();
        const std::size_t size = text.size();
        const auto copyEnds = [=](auto word) {
            decltype(word) last;
            std::memcpy(&word, from, sizeof word);
            std::memcpy(&last, from + size - sizeof last, sizeof last);
            std::memcpy(to, &word, sizeof word);
            std::memcpy(to + size - sizeof last, &last, sizeof last);
        };
        if (size >= 8) {
            copyEnds(std::uint64_t{});
        } else if (size >= 4) {
            copyEnds(std::uint32_t{});
        } else if (size >= 2) {
            copyEnds(std::uint16_t{});
        } else if (size == 1) {
            *to = *from;
        }
    }

    void copyWords(const StrB& other) noexcept { std::memcpy(words_, other.words_, sizeof words_); }
    void clearWords() noexcept { std::memset(words_, 0, sizeof words_); }
    void swap(StrB& other) noexcept { std::swap(words_, other.words_); }
    [[nodiscard]] bool sameLeadingWords(const StrB& other) const noexcept {
        return std::memcmp(words_, other.words_, lastWord * sizeof(std::uint64_t)) == 0;
    }

    void retain() const noexcept { buffer()->owners.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept {
        if (buffer()->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            destroyBuffer(buffer());
        }
    }

    void assignBuffer(std::string_view text) noexcept;
    void appendToBuffer(std::string_view text) noexcept;
    static Buffer* createBuffer(std::size_t capacity) noexcept;
    static void destroyBuffer(Buffer* buffer) noexcept;

    std::uint64_t words_[wordCount] = {};
};

static_assert(sizeof(StrB) == StrB::inlineCapacity + 1, "the size is part of the ABI");

/// What strings of one character type have in common.
template <>
struct TAVIK_CORE_EXPORT StringCommon<char> {
    /// A string with the same text; equal long texts that passed through here share one buffer for as long as one of
    /// them lives. Takes a lock for long texts only, one of many, chosen by the text.
    [[nodiscard]] static StrB dedup(std::string_view text) noexcept {
        return text.size() <= StrB::inlineCapacity ? StrB(text) : dedupLong(text);
    }
    /// As above. A text that has passed through here already is copied, without a lock.
    [[nodiscard]] static StrB dedup(const StrB& text) noexcept {
        return text.hasBuffer() && !text.buffer()->pooled ? dedupLong(text.view()) : text;
    }

    /// A new string of `left` followed by `right`.
    [[nodiscard]] static StrB addRight(StrB left, std::string_view right) noexcept {
        left.append(right);
        return left;
    }

private:
    static StrB dedupLong(std::string_view text) noexcept;
};

}  // namespace Impl

/// The string type of the system.
using String = Impl::StrB;

namespace Impl {

/// Writes the text to `out` as any text: width and fill of the stream apply.
TAVIK_CORE_EXPORT std::ostream& operator<<(std::ostream& out, const StrB& text);

}  // namespace Impl

using Impl::operator<<;

}  // namespace Tavik

/// Formats a string like the `std::string_view` of its text.
template <>
struct fmt::formatter<Tavik::String> : fmt::formatter<std::string_view> {
    template <typename FormatContext>
    auto format(const Tavik::String& text, FormatContext& context) const {
        return fmt::formatter<std::string_view>::format(text.view(), context);
    }
};
