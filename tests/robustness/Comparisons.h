/// @file
/// Counting the comparisons of strings in a program.

#pragma once

#include <cstddef>

namespace Robustness {

/// The number of calls of `memcmp` and `bcmp`, by which the library compares strings of more than 15 bytes.
extern std::size_t comparisons;

}  // namespace Robustness
