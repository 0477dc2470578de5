// Matching a path against a pattern.

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/Wildcards.h>

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
        if (wantedValue->value != value->value && wantedValue->value != Impl::anyOne) {
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

/// Whether the pattern matches leading levels of the path. Positions count from the root.
///
/// Backtracking extends only the last sequence wildcard that was reached: whatever levels an earlier one could match,
/// the later one can match as well.
bool matches(const Levels& path, const Levels& pattern) noexcept {
    std::size_t i = 0;              // in the pattern
    std::size_t j = 0;              // in the path
    std::size_t afterSequence = 0;  // where the pattern continues after the last sequence wildcard; 0 before any
    std::size_t resume = 0;         // where the path continues after it
    while (i < pattern.size()) {
        const Level& wanted = pattern[i];
        if (Impl::isBare(*wanted.segment, Impl::anySequence)) {
            afterSequence = ++i;
            resume = j;
        } else if (j < path.size() && matchesSegment(path[j], wanted)) {
            ++i;
            ++j;
        } else if (afterSequence > 0 && resume < path.size()) {
            i = afterSequence;
            j = ++resume;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace

bool Impl::Segment::isAnySequence() const noexcept {
    return isBare(*this, anySequence);
}

bool ObjectPath::hasWildcards() const noexcept {
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        if (Impl::isBare(*level, Impl::anySequence) || Impl::isBare(*level, Impl::anyOne)) {
            return true;
        }
    }
    for (const Impl::Value* value = values.get(); value != nullptr; value = value->previous.get()) {
        if (value->value == Impl::anyOne) {
            return true;
        }
    }
    return false;
}

bool ObjectPath::matchesPattern(const ObjectPath& pattern) const {
    return matches(Impl::levelsOf(*this), Impl::levelsOf(pattern));
}

}  // namespace Tavik
