/// @file
/// Lines that hold a path, as they were read.

#pragma once

#include <cstddef>
#include <string_view>

/// How a line holds a path.
enum class Syntax { path, fileName };

/// The size of the beginning of `text` that holds the first `count` segments of its path, which has that many.
[[nodiscard]] std::size_t sizeOfSegments(std::string_view text, std::size_t count, Syntax syntax) noexcept;
