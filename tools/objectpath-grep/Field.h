/// @file
/// Parts of paths that options name.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

/// The value of an attribute, or the name of a segment. It is written as KEY: the attribute of the last segment that
/// has it; as NAME.KEY: the same, but only in segments with this name; or as /NUM: the name of the segment NUM, from 1
/// at the root on, or from -1 at the leaf. A backslash makes the next character an ordinary one.
class Field {
public:
    /// Reads a field from the byte `offset` on, which becomes that of its end: the end of the text, or the first
    /// character of `terminators` that is not escaped. Throws `SyntaxError`.
    Field(std::string_view text, std::size_t& offset, std::string_view terminators);

    /// The field as it was written.
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

    /// The value or name; null if the path has none. Valid as long as the path.
    [[nodiscard]] const Tavik::String* in(const Tavik::ObjectPath& path) const noexcept;

private:
    [[nodiscard]] const Tavik::String* attributeIn(const Tavik::ObjectPath& path) const noexcept;
    [[nodiscard]] const Tavik::String* nameIn(const Tavik::ObjectPath& path) const noexcept;

    std::string text_;
    std::optional<std::string> segmentName_;  // nothing for any segment
    std::string key_;
    std::ptrdiff_t number_ = 0;  // of a segment, or 0 if the field is an attribute
};

/// Adds fields that commas separate. Throws `SyntaxError`.
void addFields(std::string_view text, std::vector<Field>& fields);
