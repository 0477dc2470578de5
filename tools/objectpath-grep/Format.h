/// @file
/// Printing parts of paths.

#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

#include "Field.h"

/// A text in which {FIELD} stands for a field of a path and {} for the path itself. {{ and }} are braces, and \n, \t
/// and two backslashes are a newline, a tab and a backslash.
class Format {
public:
    /// Throws `SyntaxError`.
    explicit Format(std::string_view text);

    /// The text for a path, in which a field that the path does not have is empty. Valid until the next call.
    [[nodiscard]] std::string_view of(const Tavik::ObjectPath& path);

private:
    struct WholePath {};

    void parseBackslash(std::string_view text, std::size_t& offset);
    void parseBrace(std::string_view text, std::size_t& offset);
    void addText(char character);

    std::vector<std::variant<std::string, Field, WholePath>> parts_;
    std::string result_;
};
