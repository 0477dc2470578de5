/// @file
/// Paths as JSON.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <Tavik/ObjectPath/ObjectPath.h>

/// A JSON object for a path in a line of a file: the members file, line, path and segments, whose elements have a name
/// and an object of attributes. It is valid UTF-8: each byte that is not becomes U+FFFD.
[[nodiscard]] std::string toJson(std::string_view file, std::size_t line, const Tavik::ObjectPath& path);
