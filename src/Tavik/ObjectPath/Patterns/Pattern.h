/// @file
/// Internal: the pattern language. Only this header reads "*" and "...".
///
/// Everything else switches on the kinds below, without a default, so that the compiler lists all places that another
/// wildcard concerns.

#pragma once

#include <cstdint>
#include <string_view>

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>

namespace Tavik::Impl {

/// What a segment of a pattern matches. A segment with attributes is a wildcard only if an option says so.
enum class SegmentKind : std::uint8_t {
    name,         // one segment of this name that has all attributes of the pattern
    anyName,      // "*" with attributes and the option: one segment that has all of these
    anySegment,   // "*": exactly one segment
    anySequence,  // "...": zero or more segments
};

/// What the value of an attribute of a pattern matches.
enum class ValueKind : std::uint8_t {
    value,     // this value
    anyValue,  // "*": any value of the key
};

/// The wildcards. Whether a string is one depends on where it is: see `kindOf`.
/// @{
inline constexpr std::string_view anyOneText = "*";
inline constexpr std::string_view anySequenceText = "...";
/// @}

[[nodiscard]] inline SegmentKind kindOf(const Segment& segment, const ObjectPathPatternConfig& config) noexcept {
    if (!segment.attributeKeys.empty()) {
        return config.anyNameWithAttributes && segment.name == anyOneText ? SegmentKind::anyName : SegmentKind::name;
    }
    const std::string_view name = segment.name.view();
    if (name == anyOneText) {
        return SegmentKind::anySegment;
    }
    return name == anySequenceText ? SegmentKind::anySequence : SegmentKind::name;
}

[[nodiscard]] inline ValueKind kindOfValue(const String& value) noexcept {
    return value == anyOneText ? ValueKind::anyValue : ValueKind::value;
}

[[nodiscard]] inline ValueKind kindOf(const Value& value) noexcept {
    return kindOfValue(value.value);
}

/// Whether a string is a wildcard or seems to hold one, wherever it is.
[[nodiscard]] inline bool looksLikeWildcard(std::string_view text) noexcept {
    return text == anySequenceText || text.find(anyOneText) != std::string_view::npos;
}

/// What a step of a pattern matches: a segment or its name, the key of an attribute, the value after its key, or the
/// end of a path.
enum class StepKind : std::uint8_t { name, key, value, anyValue, anySegment, anySequence, pathEnd };

/// A step of a pattern. The string is that of the pattern, which must outlive it; null for a wildcard.
struct Step {
    StepKind kind;
    const String* text;
};

/// Allocates only for more than 32 steps.
using Steps = boost::container::small_vector<Step, 32>;

/// The steps of a pattern in their normal form. Patterns with the same steps select the same paths:
/// - `.../*` is read as `*/...`;
/// - a `...` after another one, or at the end, adds nothing and is left out. At the end of a pattern of whole paths, it
///   takes the place of the end.
///
/// So `...` is a step only before a name or any name with attributes. Throws `std::bad_alloc`.
[[nodiscard]] inline Steps stepsOf(const Levels& pattern, const ObjectPathPatternConfig& config) {
    Steps steps;
    bool isAfterSequence = false;
    for (const Level& level : pattern) {
        const SegmentKind kind = kindOf(*level.segment, config);
        switch (kind) {
            case SegmentKind::anySequence:
                isAfterSequence = true;
                break;
            case SegmentKind::anySegment:
                steps.push_back({StepKind::anySegment, nullptr});
                break;
            case SegmentKind::name:
            case SegmentKind::anyName:
                if (isAfterSequence) {
                    steps.push_back({StepKind::anySequence, nullptr});
                    isAfterSequence = false;
                }
                steps.push_back(kind == SegmentKind::name ? Step{StepKind::name, &level.segment->name}
                                                          : Step{StepKind::anySegment, nullptr});
                for (const auto& [key, value] : attributesOf(level)) {
                    steps.push_back({StepKind::key, &key});
                    switch (kindOfValue(value)) {
                        case ValueKind::value:
                            steps.push_back({StepKind::value, &value});
                            break;
                        case ValueKind::anyValue:
                            steps.push_back({StepKind::anyValue, nullptr});
                            break;
                    }
                }
                break;
        }
    }
    if (config.wholePath && !isAfterSequence) {
        steps.push_back({StepKind::pathEnd, nullptr});
    }
    return steps;
}

}  // namespace Tavik::Impl
