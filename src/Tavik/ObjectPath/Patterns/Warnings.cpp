// Warnings of patterns: strings that look like a wildcard and are none.

#include <string_view>
#include <vector>

#include <fmt/format.h>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/PatternSet.h>
#include <Tavik/ObjectPath/Patterns/Pattern.h>

namespace Tavik {
namespace {

void warnOfName(const Impl::Segment& segment, const ObjectPathPatternConfig& config, std::vector<String>& warnings) {
    const String& name = segment.name;
    switch (kindOf(segment, config)) {
        case Impl::SegmentKind::anySegment:
        case Impl::SegmentKind::anyName:
        case Impl::SegmentKind::anySequence:
            return;
        case Impl::SegmentKind::name:
            break;
    }
    if (name == Impl::anyOneText) {
        warnings.emplace_back(
            fmt::format("the name \"{}\" matches only itself: a wildcard segment has attributes only with the option "
                        "anyNameWithAttributes",
                        name));
    } else if (name == Impl::anySequenceText) {
        warnings.emplace_back(
            fmt::format("the name \"{}\" matches only itself: a wildcard segment has no attributes", name));
    } else if (Impl::looksLikeWildcard(name)) {
        warnings.emplace_back(
            fmt::format("the name \"{}\" matches only itself: no wildcard matches a part of a name", name));
    }
}

void warnOfAttribute(const String& key, const String& value, std::vector<String>& warnings) {
    if (Impl::looksLikeWildcard(key)) {
        warnings.emplace_back(fmt::format("the key \"{}\" matches only itself: no wildcard matches keys", key));
    }
    switch (Impl::kindOfValue(value)) {
        case Impl::ValueKind::anyValue:
            return;
        case Impl::ValueKind::value:
            break;
    }
    if (Impl::looksLikeWildcard(value)) {
        warnings.emplace_back(
            fmt::format("the value \"{}\" matches only itself: the wildcard for values is \"*\" alone", value));
    }
}

}  // namespace

std::vector<String> patternWarnings(const ObjectPath& pattern) {
    return patternWarnings(pattern, {});
}

std::vector<String> patternWarnings(const ObjectPath& pattern, const ObjectPathPatternConfig& config) {
    std::vector<String> warnings;
    for (const Impl::Level& level : Impl::levelsOf(pattern)) {
        warnOfName(*level.segment, config, warnings);
        for (const auto& [key, value] : attributesOf(level)) {
            warnOfAttribute(key, value, warnings);
        }
    }
    return warnings;
}

}  // namespace Tavik
