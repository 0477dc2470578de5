// Matching a path against a pattern.

#include <Tavik/ObjectPath/Levels.h>
#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Wildcards.h>

namespace Tavik {
namespace {

using Impl::Level;
using Impl::Levels;

/// Whether `level` has every attribute of `pattern`. A merge walk: both key lists are in ascending order.
bool hasAttributes(const Level& level, const Level& pattern) noexcept {
    const Impl::Value* value = level.values;
    auto key = level.segment->attributeKeys.begin();
    const auto end = level.segment->attributeKeys.end();
    const Impl::Value* wantedValue = pattern.values;
    for (const String& wantedKey : pattern.segment->attributeKeys) {
        int order = -1;
        while (key != end && (order = key->compare(wantedKey)) < 0) {
            ++key;
            value = value->previous.get();
        }
        if (key == end || order > 0) {
            return false;
        }
        if (!(wantedValue->value == value->value) && !(wantedValue->value == Impl::anyOne)) {
            return false;
        }
        ++key;
        value = value->previous.get();
        wantedValue = wantedValue->previous.get();
    }
    return true;
}

bool matchesSegment(const Level& level, const Level& pattern) noexcept {
    return Impl::isBare(*pattern.segment, Impl::anyOne) ||
           (level.segment->name == pattern.segment->name && hasAttributes(level, pattern));
}

/// Whether the levels can be divided into one run for each level of the pattern: a run of any length for a sequence
/// wildcard, of one level for any other. Positions count from the root.
///
/// Only the last sequence wildcard met is ever given one level more: whatever an earlier one could take, the later one
/// can take as well.
bool matches(const Levels& path, const Levels& pattern) noexcept {
    const std::size_t pathSize = path.size();
    const std::size_t patternSize = pattern.size();
    std::size_t i = 0;  // in the pattern
    std::size_t j = 0;  // in the path
    std::size_t star = 0;
    std::size_t resume = 0;  // where matching goes on after the wildcard at `star`; 0 before any
    for (;;) {
        if (i == patternSize) {
            if (j == pathSize) {
                return true;
            }
        } else {
            const Level& wanted = pattern[patternSize - 1 - i];
            if (Impl::isBare(*wanted.segment, Impl::anySequence)) {
                star = i++;
                resume = j + 1;
                continue;
            }
            if (j < pathSize && matchesSegment(path[pathSize - 1 - j], wanted)) {
                ++i;
                ++j;
                continue;
            }
        }
        if (resume == 0 || resume > pathSize) {
            return false;
        }
        i = star;
        j = resume;
    }
}

}  // namespace

bool ObjectPath::matchesPattern(const ObjectPath& pattern) const {
    const Levels levels = Impl::levelsOf(*this);
    if (pattern.segment != nullptr && pattern.segment->isAnySequence()) {
        return matches(levels, Impl::levelsOf(pattern));
    }
    const ObjectPath closed = pattern.append(Impl::anySequence);
    return matches(levels, Impl::levelsOf(closed));
}

}  // namespace Tavik
