/// @file
/// Internal: the characters that have a meaning in the text of a path.

#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace Tavik::Impl {

/// Starts an escape: the character after it is taken literally.
inline constexpr char escape = '\\';

/// The parts of a segment's text, each with its own special characters. The values are bits of `specialIn`.
enum class Field : unsigned char { name = 1, key = 2, value = 4 };

/// For each byte the fields in which it is special: the fields that it would end, and all fields for the escape.
inline constexpr std::array<unsigned char, 256> specialIn = [] {
    constexpr auto bit = [](Field field) { return static_cast<unsigned char>(field); };
    std::array<unsigned char, 256> fields{};
    fields['/'] = bit(Field::name);
    fields['['] = bit(Field::name);
    fields['='] = bit(Field::key);
    fields[']'] = bit(Field::value);
    fields[static_cast<unsigned char>(escape)] = bit(Field::name) | bit(Field::key) | bit(Field::value);
    return fields;
}();

[[nodiscard]] constexpr bool isSpecial(char character, Field field) noexcept {
    return (specialIn[static_cast<unsigned char>(character)] & static_cast<unsigned char>(field)) != 0;
}

/// The number of leading bytes of `text` that are not special in `field`.
[[nodiscard]] constexpr std::size_t plainPrefix(std::string_view text, Field field) noexcept {
    std::size_t size = 0;
    while (size < text.size() && !isSpecial(text[size], field)) {
        ++size;
    }
    return size;
}

/// Whether an escape may precede `character`: whether it is special in any field.
[[nodiscard]] constexpr bool isEscapable(char character) noexcept {
    return specialIn[static_cast<unsigned char>(character)] != 0;
}

}  // namespace Tavik::Impl
