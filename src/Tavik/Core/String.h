/// @file
/// The core library's string: a value of 16 bytes that holds short strings inline and shares long ones.

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#if __has_include(<version>)
#include <version>
#endif
#if defined(__cpp_impl_three_way_comparison) && __has_include(<compare>)
#include <compare>
/// The language and the standard library have `<=>`, even if the latter does not have all that goes with it.
#define TAVIK_THREE_WAY_COMPARISON
#endif
#ifdef __cpp_lib_format
#include <format>
#endif

#include <fmt/format.h>

#include <Tavik/Core/Export.h>
#include <Tavik/Core/Lifetime.h>
#include <Tavik/Core/TextWords.h>

namespace Tavik {
namespace Impl {

class StrB;
class TextRef;

/// Operations on strings of one character type.
template <typename Char>
struct StringCommon;

/// Whether `Text` is `String` or derived from it.
template <typename Text>
inline constexpr bool isString = std::is_base_of_v<StrB, Text>;

/// Whether `Text` is another type that converts to `std::string_view` or to `const char*`, and is not that of
/// `nullptr`.
template <typename Text>
inline constexpr bool isText =
    !isString<Text> && !std::is_null_pointer_v<Text> &&
    (std::is_convertible_v<const Text&, std::string_view> || std::is_convertible_v<const Text&, const char*>);

/// Enables comparisons of two strings, and of a string with one of another type.
template <typename Left, typename Right>
using EnableComparison =
    std::enable_if_t<(isString<Left> && (isString<Right> || isText<Right>)) || (isText<Left> && isString<Right>)>;

/// A string of arbitrary bytes. Up to `inlineCapacity` bytes are held in the object itself; a longer string is held in
/// a reference-counted buffer that copies share. Appending to a shared string copies it first.
///
/// It can be constructed from and compared with every type that converts to `std::string_view` or to `const char*`,
/// such as `std::string`, but not `nullptr`. It converts to `std::string_view`, and `str()` copies it to a
/// `std::string`.
///
/// No operation but `str()` throws: running out of memory for a buffer terminates the process with a message. Different
/// objects may be used by different threads, even where they share a buffer. Only `StringCommon::dedup` and the release
/// of a buffer that it returned take a lock.
class TAVIK_CORE_EXPORT StrB : private TextWords {
public:
    using TextWords::inlineCapacity;

    /// The empty string. Constant time.
    constexpr StrB() noexcept = default;

    /// A copy of `text`. Linear in its size; allocates only beyond `inlineCapacity` bytes.
    StrB(std::string_view text) noexcept {  // NOLINT(google-explicit-constructor)
        if (text.size() <= inlineCapacity) {
            assignInline(text);
        } else {
            assignBuffer(text);
        }
    }

    /// A copy of a NUL-terminated string, which must not be null but may be brace-initialised. Linear in its size;
    /// allocates only beyond `inlineCapacity` bytes.
    StrB(const char* text) noexcept : StrB(std::string_view(text)) {}  // NOLINT(google-explicit-constructor)
    StrB(std::nullptr_t) = delete;

    /// A copy of anything that converts to `std::string_view` or to `const char*`, such as a `std::string`. Linear in
    /// its size; allocates only beyond `inlineCapacity` bytes. Since 1.1.
    template <typename Text, typename = std::enable_if_t<isText<Text>>>
    StrB(const Text& text) noexcept  // NOLINT(google-explicit-constructor)
        : StrB(static_cast<std::string_view>(text)) {}

    /// Shares a long string, copies a short one. Constant time.
    StrB(const StrB& other) noexcept : TextWords(other) {
        if (hasBuffer()) {
            retain();
        }
    }

    /// Moves the bytes and leaves `other` empty. Constant time.
    StrB(StrB&& other) noexcept : TextWords(other) { other.clearWords(); }

    /// Shares a long string, copies a short one, and releases the old bytes, as the destructor does.
    StrB& operator=(const StrB& other) noexcept {
        StrB copy(other);
        swap(copy);
        return *this;
    }

    /// Moves the bytes, leaves `other` empty, and releases the old bytes, as the destructor does.
    StrB& operator=(StrB&& other) noexcept {
        StrB taken(std::move(other));
        swap(taken);
        return *this;
    }

    /// Releases the bytes. Constant time, except for the last string with a buffer that `StringCommon::dedup` returned:
    /// linear in its size, and briefly takes a lock.
    ~StrB() {
        if (hasBuffer()) {
            release();
        }
    }

    /// The bytes. Constant time. Valid until this object is changed or destroyed.
    [[nodiscard]] std::string_view view() const noexcept TAVIK_LIFETIMEBOUND {
        return hasBuffer() ? std::string_view(buffer()->bytes(), longSize()) : std::string_view(inlineBytes(), tag());
    }

    /// The bytes, like `view()`. Constant time. Valid until this object is changed or destroyed. Since 1.1.
    operator std::string_view() const noexcept TAVIK_LIFETIMEBOUND {  // NOLINT(google-explicit-constructor)
        return view();
    }

    /// A copy of the bytes. Linear in the string. The only operation that throws: `std::bad_alloc`. Since 1.3.
    [[nodiscard]] std::string str() const { return std::string(view()); }

    /// The address of the first byte; the last one is not necessarily followed by a NUL. Constant time. Valid until
    /// this object is changed or destroyed. Since 1.1.
    [[nodiscard]] const char* data() const noexcept TAVIK_LIFETIMEBOUND { return view().data(); }

    /// The number of bytes. Constant time. Since 1.1.
    [[nodiscard]] std::size_t size() const noexcept { return view().size(); }

    /// Whether there are no bytes. Constant time.
    [[nodiscard]] bool empty() const noexcept { return words_[1] == 0; }

    /// Makes the string empty and releases its buffer, as the destructor does.
    void clear() noexcept {
        if (hasBuffer()) {
            release();
        }
        clearWords();
    }

    /// Appends the bytes of `text`, which may be part of this string. Amortised linear in the size of `text`, but
    /// copies this string if its buffer is shared.
    void append(std::string_view text) noexcept {
        if (text.size() <= inlineCapacity && tag() <= inlineCapacity - text.size()) {
            appendInline(text);
        } else {
            appendToBuffer(text);
        }
    }

    /// Appends a NUL-terminated string, which must not be null. Amortised linear in its size, but copies this string if
    /// its buffer is shared.
    void append(const char* text) noexcept { append(std::string_view(text)); }
    void append(std::nullptr_t) = delete;

    /// Appends anything that converts to `std::string_view` or to `const char*`, such as a `std::string`.
    /// Amortised linear in its size, but copies this string if its buffer is shared. Since 1.1.
    template <typename Text, typename = std::enable_if_t<isText<Text>>>
    void append(const Text& text) noexcept {
        append(static_cast<std::string_view>(text));
    }

    /// Appends a copy of `other`, which may be this object. An empty string shares the buffer of `other`.
    void append(const StrB& other) noexcept {
        if (empty()) {
            *this = other;
        } else {
            append(other.view());
        }
    }

    /// Appends `other` and leaves it empty, unless it is this object. An empty string takes the buffer of `other`.
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

    /// Three-way comparison of unsigned bytes, a prefix before the longer string: negative when this string is the
    /// lesser one, zero when both are equal. Linear in the shorter string.
    [[nodiscard]] int compare(std::string_view other) const noexcept { return view().compare(other); }
    template <typename Null, typename = std::enable_if_t<std::is_null_pointer_v<Null>>>
    int compare(Null) const = delete;

    /// Whether both have the same bytes. Constant time for two short strings and for two that share a buffer, otherwise
    /// linear.
    [[nodiscard]] friend bool operator==(const StrB& left, const StrB& right) noexcept {
        return left.hasSameWords(right) || (left.isLong() && left.view() == right.view());
    }

    /// Hashes like the `std::string_view` of the same bytes. Linear in the string.
    template <typename H>
    friend H AbslHashValue(H state, const StrB& text) {
        return H::combine(std::move(state), text.view());
    }

    /// Writes the string to an Abseil sink. Since 1.1.
    template <typename Sink>
    friend void AbslStringify(Sink& sink, const StrB& text) {
        sink.Append({text.data(), text.size()});
    }

    /// A hash under a secret key that each process draws for itself, so it differs from process to process. Proved: for
    /// strings of up to `inlineCapacity` bytes, nobody who does not know the key can choose two that collide more often
    /// than chance. The hash of longer strings carries no proof: pairs are known that collide for about one of 2^27
    /// keys.
    ///
    /// Do not disclose hashes: three of them give the key for short strings away. Since the order of a table may show
    /// parts of hashes, a table should mix them, as `absl::Hash` does. Constant time for a short string, linear for a
    /// long one. Since 1.1.
    [[nodiscard]] std::uint64_t keyedHash() const noexcept {
        return hasBuffer() ? hashBytes(view()) : hashWords(words_[0], words_[1]);
    }

private:
    friend struct StringCommon<char>;
    friend class StringPool;
    friend class TextRef;

    /// The head of a long string; the bytes follow it in memory. A buffer in the pool never changes, and its capacity
    /// is the number of its bytes.
    struct Buffer {
        std::atomic<std::uint32_t> owners;
        bool pooled;
        std::size_t capacity;
        Buffer* next;  // in the pool

        [[nodiscard]] char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
    };

    /// Marks words whose first one is the address of a buffer.
    static constexpr std::uint64_t bufferTag = 0xff;

    /// Shares the words of a `StrB`, or of a `TextRef` to a short string or to a buffer.
    explicit StrB(const TextWords& words) noexcept : TextWords(words) {
        if (hasBuffer()) {
            retain();
        }
    }

    [[nodiscard]] bool hasBuffer() const noexcept { return tag() == bufferTag; }
    [[nodiscard]] Buffer* buffer() const noexcept { return reinterpret_cast<Buffer*>(words_[0]); }

    void setBuffer(Buffer* buffer, std::size_t size) noexcept { assignLong(buffer, size, bufferTag); }
    void appendInline(std::string_view text) noexcept {
        std::char_traits<char>::move(inlineBytes() + tag(), text.data(), text.size());
        words_[1] += std::uint64_t{text.size()} << tagShift;
    }
    void clearWords() noexcept { std::memset(words_, 0, sizeof words_); }
    void swap(StrB& other) noexcept { std::swap(words_, other.words_); }

    void retain() const noexcept { buffer()->owners.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept {
        if (buffer()->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            destroyBuffer(buffer());
        }
    }

    void assignBuffer(std::string_view text) noexcept;
    void appendToBuffer(std::string_view text) noexcept;
    /// Returns null if there is no memory; `createBuffer` reports that and aborts. Hidden, so that calls are direct.
    [[gnu::visibility("hidden")]] static Buffer* tryCreateBuffer(std::size_t capacity) noexcept;
    [[gnu::visibility("hidden")]] static Buffer* createBuffer(std::size_t capacity) noexcept;
    static void destroyBuffer(Buffer* buffer) noexcept;
    static std::uint64_t hashWords(std::uint64_t first, std::uint64_t last) noexcept;
    static std::uint64_t hashBytes(std::string_view text) noexcept;
};

static_assert(sizeof(StrB) == StrB::inlineCapacity + 1, "the size is part of the ABI");

/// @name Comparison of strings with each other and with those of other types
/// @{

/// Compares unsigned bytes, with a prefix before the longer string, like `StrB::compare`. Linear in the shorter string.
/// Since 1.1; `<=>` since 1.2, where the language has it.
template <typename Left, typename Right, typename = EnableComparison<Left, Right>>
[[nodiscard]] bool operator==(const Left& left, const Right& right) noexcept {
    return static_cast<std::string_view>(left) == static_cast<std::string_view>(right);
}
template <typename Left, typename Right, typename = EnableComparison<Left, Right>>
[[nodiscard]] bool operator!=(const Left& left, const Right& right) noexcept {
    return !(left == right);
}
template <typename Left, typename Right, typename = EnableComparison<Left, Right>>
[[nodiscard]] bool operator<(const Left& left, const Right& right) noexcept {
    return static_cast<std::string_view>(left) < static_cast<std::string_view>(right);
}
template <typename Left, typename Right, typename = EnableComparison<Left, Right>>
[[nodiscard]] bool operator>(const Left& left, const Right& right) noexcept {
    return right < left;
}
template <typename Left, typename Right, typename = EnableComparison<Left, Right>>
[[nodiscard]] bool operator<=(const Left& left, const Right& right) noexcept {
    return !(right < left);
}
template <typename Left, typename Right, typename = EnableComparison<Left, Right>>
[[nodiscard]] bool operator>=(const Left& left, const Right& right) noexcept {
    return !(left < right);
}
#ifdef TAVIK_THREE_WAY_COMPARISON
template <typename Left, typename Right, typename = EnableComparison<Left, Right>>
[[nodiscard]] std::strong_ordering operator<=>(const Left& left, const Right& right) noexcept {
    return static_cast<std::string_view>(left) <=> static_cast<std::string_view>(right);
}
#endif
/// @}

/// Operations on strings of `char`.
template <>
struct TAVIK_CORE_EXPORT StringCommon<char> {
    /// A string with the same bytes. All equal long strings that this function returns share one buffer, as long as one
    /// of them lives. Linear in the string. For a long one, briefly takes one of several locks, which the bytes
    /// determine.
    [[nodiscard]] static StrB dedup(std::string_view text) noexcept {
        return text.size() <= StrB::inlineCapacity ? StrB(text) : dedupLong(text);
    }
    /// A string with the bytes of anything that converts to `std::string_view` or to `const char*`. All equal long
    /// strings that this function returns share one buffer. Linear in the string. For a long one, briefly takes one of
    /// several locks.
    template <typename Text, typename = std::enable_if_t<isText<Text>>>
    [[nodiscard]] static StrB dedup(const Text& text) noexcept {
        return dedup(static_cast<std::string_view>(text));
    }
    /// A string with the same bytes. All equal long strings that this function returns share one buffer. Constant time
    /// and no lock for a short string and for one that `dedup` returned before; otherwise linear, and briefly takes one
    /// of several locks.
    [[nodiscard]] static StrB dedup(const StrB& text) noexcept {
        return text.hasBuffer() && !text.buffer()->pooled ? dedupLong(text.view()) : text;
    }

    /// The bytes of `left` followed by those of `right`. Linear in both.
    [[nodiscard]] static StrB addRight(StrB left, std::string_view right) noexcept {
        left.append(right);
        return left;
    }

private:
    static StrB dedupLong(std::string_view text) noexcept;
};

/// A formatter for values that are strings or have a `toString()`. `Base` is the formatter of `std::string_view` in
/// {fmt} or in the standard library, so width, fill and alignment apply as for any string.
template <typename Base>
struct TextFormatter : Base {
    template <typename Value, typename FormatContext>
    auto format(const Value& value, FormatContext& context) const {
        if constexpr (std::is_convertible_v<const Value&, std::string_view>) {
            return Base::format(static_cast<std::string_view>(value), context);
        } else {
            return Base::format(value.toString().view(), context);
        }
    }
};

}  // namespace Impl

/// The string type of the system.
using String = Impl::StrB;

namespace Impl {

/// Writes the string to `out`; width and fill of the stream apply. Throws what the stream throws.
TAVIK_CORE_EXPORT std::ostream& operator<<(std::ostream& out, const StrB& text);

}  // namespace Impl

/// For calls that name it. Argument-dependent look-up finds it in the namespace of the class.
using Impl::operator<<;

}  // namespace Tavik

/// Hashes like the `std::string_view` of the same bytes. Linear in the string. Since 1.1.
template <>
struct std::hash<Tavik::String> {
    std::size_t operator()(const Tavik::String& text) const noexcept {
        return std::hash<std::string_view>{}(text.view());
    }
};

template <>
struct fmt::formatter<Tavik::String> : Tavik::Impl::TextFormatter<fmt::formatter<std::string_view>> {};

#ifdef __cpp_lib_format
template <>
struct std::formatter<Tavik::String> : Tavik::Impl::TextFormatter<std::formatter<std::string_view>> {};
#endif
