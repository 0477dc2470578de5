// What looks like a wildcard and is none.

#include <string_view>
#include <vector>

#include <fmt/format.h>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/PatternSet.h>
#include <Tavik/ObjectPath/Patterns/Wildcards.h>

namespace Tavik {
namespace {

bool looksLikeWildcard(std::string_view text) noexcept {
    return text == Impl::anySequence || text.find(Impl::anyOne) != std::string_view::npos;
}

void warnOfName(const Impl::Segment& segment, std::vector<String>& warnings) {
    const String& name = segment.name;
    if (!segment.attributeKeys.empty() && (name == Impl::anyOne || name == Impl::anySequence)) {
        warnings.push_back(
            fmt::format("the name \"{}\" matches only itself: a wildcard segment has no attributes", name));
    } else if (name != Impl::anyOne && name != Impl::anySequence && looksLikeWildcard(name)) {
        warnings.push_back(
            fmt::format("the name \"{}\" matches only itself: no wildcard matches a part of a name", name));
    }
}

void warnOfAttribute(const String& key, const String& value, std::vector<String>& warnings) {
    if (looksLikeWildcard(key)) {
        warnings.push_back(fmt::format("the key \"{}\" matches only itself: no wildcard matches keys", key));
    }
    if (value != Impl::anyOne && looksLikeWildcard(value)) {
        warnings.push_back(
            fmt::format("the value \"{}\" matches only itself: the wildcard for values is \"*\" alone", value));
    }
}

}  // namespace

std::vector<String> patternWarnings(const ObjectPath& pattern) {
    std::vector<String> warnings;
    for (const auto& [segment, values] : Impl::levelsOf(pattern)) {
        warnOfName(*segment, warnings);
        for (const auto& [key, value] : ObjectPathAttributeRange(segment->attributeKeys, values)) {
            warnOfAttribute(key, value, warnings);
        }
    }
    return warnings;
}

}  // namespace Tavik
