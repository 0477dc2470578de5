/// @file
/// Literals that are paths. Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>

#include <Tavik/ObjectPath/Export.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {
namespace Impl {

/// Parses a string that is known to be valid, and keeps the path for the life of the process. Has the cost and locks of
/// `tryParseObjectPath`; running out of memory terminates the process. Since 1.4.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT const ObjectPath& keepLiteral(std::string_view text) noexcept;

/// Why text is not that of a path. Since 1.4.
enum class TextError { none, emptyName, noSlash, unfinishedAttribute, unfinishedEscape, invalidEscape };

/// The leftmost error in a text, and its place as `tryParseObjectPath` gives it. Since 1.4.
struct TextCheck {
    /// What is wrong, if anything is.
    TextError error;
    /// The offset of the error; the size of the text if there is none.
    std::size_t offset;
};

/// Skips a field from `offset` up to one of the characters `ends` or the end of `text`. Since 1.4.
constexpr TextCheck skipField(std::string_view text, std::size_t offset, std::string_view ends) noexcept {
    for (; offset < text.size() && ends.find(text[offset]) == std::string_view::npos; ++offset) {
        if (text[offset] == '\\') {
            ++offset;
            if (offset == text.size()) {
                return {TextError::unfinishedEscape, offset};
            }
            if (std::string_view("/[]=\\").find(text[offset]) == std::string_view::npos) {
                return {TextError::invalidEscape, offset};
            }
        }
    }
    return {TextError::none, offset};
}

/// Skips attributes from `offset` on. Since 1.4.
constexpr TextCheck skipAttributes(std::string_view text, std::size_t offset) noexcept {
    while (offset < text.size() && text[offset] == '[') {
        for (const char end : {'=', ']'}) {
            const TextCheck place = skipField(text, offset + 1, std::string_view(&end, 1));
            if (place.error != TextError::none) {
                return place;
            }
            if (place.offset == text.size()) {
                return {TextError::unfinishedAttribute, place.offset};
            }
            offset = place.offset;
        }
        ++offset;
    }
    return {TextError::none, offset};
}

/// Finds out, without parsing, whether `text` is that of a path. Linear in `text`. Since 1.4.
constexpr TextCheck checkText(std::string_view text) noexcept {
    TextCheck place{TextError::none, !text.empty() && text.front() == '/' ? std::size_t{1} : std::size_t{0}};
    while (place.offset < text.size()) {
        const std::size_t begin = place.offset;
        place = skipField(text, begin, "/[");
        if (place.error == TextError::none && place.offset == begin) {
            return {TextError::emptyName, begin};
        }
        if (place.error == TextError::none) {
            place = skipAttributes(text, place.offset);
        }
        if (place.error != TextError::none) {
            return place;
        }
        if (place.offset < text.size()) {
            if (text[place.offset] != '/') {
                return {TextError::noSlash, place.offset};
            }
            ++place.offset;
        }
    }
    return place;
}

#if __cplusplus >= 202002L && (__cpp_nontype_template_args >= 201911L || __clang_major__ >= 12)
/// Literals are checked when the program is compiled.
#define TAVIK_OBJECT_PATH_CHECKS_LITERALS

/// The bytes of a literal, as a template argument. Since 1.4.
template <std::size_t size>
struct LiteralText {
    /// Copies the bytes.
    constexpr LiteralText(const char (&literal)[size]) noexcept {  // NOLINT(google-explicit-constructor)
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = literal[i];
        }
    }
    /// The bytes without the NUL at the end.
    [[nodiscard]] constexpr std::string_view view() const noexcept { return {bytes, size - 1}; }

    /// The bytes, with the NUL at the end.
    char bytes[size] = {};
};

/// Does not compile if there is an error. The compiler's message names the arguments.
template <TextError error, std::size_t errorOffset>
constexpr void requireValidLiteral() noexcept {
    static_assert(error != TextError::emptyName, "invalid object path: a segment name cannot be empty");
    static_assert(error != TextError::noSlash, "invalid object path: an attribute or / was expected following ]");
    static_assert(error != TextError::unfinishedAttribute, "invalid object path: an attribute is unfinished");
    static_assert(error != TextError::unfinishedEscape, "invalid object path: an escape sequence is unfinished");
    static_assert(error != TextError::invalidEscape, "invalid object path: \\ must precede one of / [ ] = \\");
}

/// The path of each literal, once it has been parsed.
template <LiteralText text>
inline constinit std::atomic<const ObjectPath*> literalPath = nullptr;
#endif

}  // namespace Impl

/// For `using namespace Tavik::literals`.
namespace literals {

#ifdef TAVIK_OBJECT_PATH_CHECKS_LITERALS
/// The path of a literal, such as `"/dev[bus=pci]"_path`. A literal that is not the text of a path does not compile;
/// the compiler's message has the reason and, as `errorOffset`, the place. The path is parsed when it is first asked
/// for, with the cost and locks of `parseObjectPath`, and kept for the life of the process: destructors of static
/// objects may use it. In C++17, parses each time, and returns the path by value. Since 1.4.
/// @relatesalso Tavik::ObjectPath
template <Impl::LiteralText text>
[[nodiscard]] const ObjectPath& operator""_path() noexcept {
    constexpr Impl::TextCheck check = Impl::checkText(text.view());
    Impl::requireValidLiteral<check.error, check.offset>();
    // Not a local static variable: a fork while another thread initialises one would leave the child deadlocked. Two
    // threads may both keep a path, and both paths are equal.
    const ObjectPath* path = Impl::literalPath<text>.load(std::memory_order_acquire);
    if (path == nullptr) {
        path = &Impl::keepLiteral(text.view());
        Impl::literalPath<text>.store(path, std::memory_order_release);
    }
    return *path;
}
#else
/// The path of a literal: `parseObjectPath`, which terminates the process if the literal is not the text of a path. In
/// C++20, such a literal does not compile, and each one is parsed only once. Since 1.4.
[[nodiscard]] inline ObjectPath operator""_path(const char* text, std::size_t size) noexcept {
    return parseObjectPath(std::string_view(text, size));
}
#endif

}  // namespace literals
}  // namespace Tavik
