/// @file
/// Options of the operations of paths.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <string_view>

namespace Tavik {

/// Options of `ObjectPath::toString`. The defaults give the canonical text, the one that the parser reads back. Set
/// fields by their names; there will be no further ones before version 2.
struct ObjectPathStringConfig {
    /// Whether the text begins with `separator`. Without it, the text of the root path is empty.
    bool leadingSeparator = true;

    /// The text between segments. Any string, including the empty one. Not owned: it must outlive the call.
    /// Names are escaped for "/" whatever the separator is.
    std::string_view separator = "/";

    /// The number of segments, counted from the root, that are left out. When none remains, the text is empty. The root
    /// path ignores it.
    std::size_t skipSegments = 0;

    /// Whether names are written with a backslash before each "[", "/" and backslash.
    bool escapeNames = true;

    /// Whether keys are written with a backslash before each "=" and backslash.
    bool escapeAttributeKeys = true;

    /// Whether values are written with a backslash before each "]" and backslash.
    bool escapeAttributeValues = true;
};

/// Options of a pattern. The defaults give it the meaning that `ObjectPath::matchesPattern` describes. Set fields by
/// their names; there will be no further ones before version 2. Since 1.4.
struct ObjectPathPatternConfig {
    /// Whether the pattern matches whole paths: no "..." is implied at its end, so it does not select what is below the
    /// paths that it selects.
    bool wholePath = false;

    /// Whether a segment "*" with attributes matches one segment of any name that has these attributes, possibly among
    /// others. Without this, "*" with attributes is an ordinary name, as "..." with attributes always is.
    bool anyNameWithAttributes = false;

    /// Whether both have the same options.
    [[nodiscard]] friend bool operator==(const ObjectPathPatternConfig& left,
                                         const ObjectPathPatternConfig& right) noexcept {
        return left.wholePath == right.wholePath && left.anyNameWithAttributes == right.anyNameWithAttributes;
    }
    /// The opposite of `==`.
    [[nodiscard]] friend bool operator!=(const ObjectPathPatternConfig& left,
                                         const ObjectPathPatternConfig& right) noexcept {
        return !(left == right);
    }
};

}  // namespace Tavik
