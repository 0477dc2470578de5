/// @file
/// Places in text, as people see them. Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <string_view>

#include <Tavik/Core/Lifetime.h>
#include <Tavik/ObjectPath/Export.h>

namespace Tavik {

/// A place in text, as people and editors count it: the result of `locateOffset`. Since 1.4.
struct ObjectPathTextPosition {
    /// The number of the line, from 1. Lines end in a newline.
    std::size_t line;

    /// The number of the character in its line, from 1. Counts code points of UTF-8; a byte that belongs to none is one
    /// character.
    std::size_t column;

    /// The text of the line, without the newline. Valid as long as the text that was passed.
    std::string_view lineText;

    /// The columns of a terminal that the line takes before the place, for a caret in the line below:
    /// `std::string(position.caret, ' ') + '^'`. Wide characters take two and combining ones none; a tab reaches to the
    /// next multiple of eight.
    std::size_t caret;
};

/// The place of the byte at `offset` of `text`, such as the offset of an error. An offset beyond the text is its end,
/// and one inside a character is that character. Linear in `text`. Since 1.4.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT ObjectPathTextPosition locateOffset(std::string_view text TAVIK_LIFETIMEBOUND,
                                                                           std::size_t offset) noexcept;

}  // namespace Tavik
