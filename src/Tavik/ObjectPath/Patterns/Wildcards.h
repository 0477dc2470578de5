/// @file
/// The strings that have a meaning in patterns.

#pragma once

#include <string_view>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// As a segment name: zero or more segments.
inline constexpr std::string_view anySequence = "...";

/// As a segment name: exactly one segment. As an attribute value: any value.
inline constexpr std::string_view anyOne = "*";

/// Whether a segment has the given name and no attributes, which a wildcard segment never has.
[[nodiscard]] inline bool isBare(const Segment& segment, std::string_view name) noexcept {
    return segment.attributeKeys.empty() && segment.name == name;
}

}  // namespace Tavik::Impl
