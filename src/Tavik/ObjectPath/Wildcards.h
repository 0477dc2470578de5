/// @file
/// The texts that have a meaning in patterns.

#pragma once

#include <string_view>

namespace Tavik::Impl {

/// As a segment name: any number of segments.
inline constexpr std::string_view anySequence = "...";

/// As a segment name: exactly one segment. As an attribute value: any value.
inline constexpr std::string_view anyOne = "*";

}  // namespace Tavik::Impl
