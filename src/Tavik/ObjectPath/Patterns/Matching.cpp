// Matching a path against a pattern.

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/Pattern.h>

namespace Tavik {
namespace {

using Impl::Level;
using Impl::Levels;
using Impl::SegmentKind;
using Impl::ValueKind;

bool matchesValue(const String& value, const String& wanted) noexcept {
    switch (Impl::kindOfValue(wanted)) {
        case ValueKind::value:
            return value == wanted;
        case ValueKind::anyValue:
            return true;
    }
    __builtin_unreachable();
}

/// Whether `level` has every attribute of `pattern`. A merge walk: both key lists are in ascending order.
bool hasAttributes(const Level& level, const Level& pattern) noexcept {
    const ObjectPathAttributeRange attributes = attributesOf(level);
    auto attribute = attributes.begin();
    for (const auto& [key, wanted] : attributesOf(pattern)) {
        int order = -1;
        while (attribute != attributes.end() && (order = attribute->first.compare(key)) < 0) {
            ++attribute;
        }
        if (attribute == attributes.end() || order > 0 || !matchesValue(attribute->second, wanted)) {
            return false;
        }
        ++attribute;
    }
    return true;
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
        bool isMatch = j < path.size();
        switch (kindOf(*wanted.segment)) {
            case SegmentKind::anySequence:
                afterSequence = ++i;
                resume = j;
                continue;
            case SegmentKind::anySegment:
                break;
            case SegmentKind::name:
                isMatch = isMatch && path[j].segment->name == wanted.segment->name && hasAttributes(path[j], wanted);
                break;
        }
        if (isMatch) {
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
    switch (kindOf(*this)) {
        case SegmentKind::anySequence:
            return true;
        case SegmentKind::anySegment:
        case SegmentKind::name:
            return false;
    }
    __builtin_unreachable();
}

bool ObjectPath::hasWildcards() const noexcept {
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        switch (kindOf(*level)) {
            case SegmentKind::anySequence:
            case SegmentKind::anySegment:
                return true;
            case SegmentKind::name:
                break;
        }
    }
    for (const Impl::Value* value = values.get(); value != nullptr; value = value->previous.get()) {
        switch (kindOf(*value)) {
            case ValueKind::anyValue:
                return true;
            case ValueKind::value:
                break;
        }
    }
    return false;
}

bool ObjectPath::matchesPattern(const ObjectPath& pattern) const {
    return matches(Impl::levelsOf(*this), Impl::levelsOf(pattern));
}

}  // namespace Tavik
