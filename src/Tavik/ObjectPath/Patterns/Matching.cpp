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
[[gnu::always_inline]] inline bool hasAttributes(const Level& level, const Level& pattern) noexcept {
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

/// Whether a segment of a pattern that is not "..." matches a level.
[[gnu::always_inline]] inline bool matchesLevel(SegmentKind kind, const Level& level, const Level& wanted) noexcept {
    switch (kind) {
        case SegmentKind::anySequence:
        case SegmentKind::anySegment:
            return true;
        case SegmentKind::name:
            return level.segment->name == wanted.segment->name && hasAttributes(level, wanted);
        case SegmentKind::anyName:
            return hasAttributes(level, wanted);
    }
    __builtin_unreachable();
}

/// Whether the pattern matches leading levels of the path, or all of them. Positions count from the root. If there is
/// a match, notes in `captures` what each segment of the pattern matched, unless that is null.
///
/// Backtracking extends only the last sequence wildcard that was reached: whatever levels an earlier one could match,
/// the later one can match as well. So each one is as short as those before it allow. Inlined, so that a match without
/// options does not pay for them.
[[gnu::always_inline]] inline bool matches(const Levels& path,
                                           const Levels& pattern,
                                           const ObjectPathPatternConfig& config,
                                           ObjectPathCapture* captures) noexcept {
    std::size_t i = 0;              // in the pattern
    std::size_t j = 0;              // in the path
    std::size_t afterSequence = 0;  // where the pattern continues after the last sequence wildcard; 0 before any
    std::size_t resume = 0;         // where the path continues after it
    while (i < pattern.size() || (config.wholePath && j < path.size())) {
        bool isMatch = false;
        if (i < pattern.size()) {
            const SegmentKind kind = kindOf(*pattern[i].segment, config);
            if (kind == SegmentKind::anySequence) {
                if (captures != nullptr) {
                    captures[i] = {j, 0};
                }
                afterSequence = ++i;
                resume = j;
                continue;
            }
            isMatch = j < path.size() && matchesLevel(kind, path[j], pattern[i]);
        }
        if (isMatch) {
            if (captures != nullptr) {
                captures[i] = {j, 1};
            }
            ++i;
            ++j;
        } else if (afterSequence > 0 && resume < path.size()) {
            if (captures != nullptr) {
                ++captures[afterSequence - 1].count;
            }
            i = afterSequence;
            j = ++resume;
        } else {
            return false;
        }
    }
    return true;
}

[[gnu::noinline]] bool matchesWithOptions(const Levels& path,
                                          const Levels& pattern,
                                          const ObjectPathPatternConfig& config,
                                          ObjectPathCapture* captures) noexcept {
    return matches(path, pattern, config, captures);
}

}  // namespace

bool Impl::Segment::isAnySequence() const noexcept {
    switch (kindOf(*this, {})) {
        case SegmentKind::anySequence:
            return true;
        case SegmentKind::anySegment:
        case SegmentKind::anyName:
        case SegmentKind::name:
            return false;
    }
    __builtin_unreachable();
}

bool ObjectPath::hasWildcards() const noexcept {
    return hasWildcards({});
}

bool ObjectPath::hasWildcards(const ObjectPathPatternConfig& config) const noexcept {
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        switch (kindOf(*level, config)) {
            case SegmentKind::anySequence:
            case SegmentKind::anySegment:
            case SegmentKind::anyName:
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
    return matches(Impl::levelsOf(*this), Impl::levelsOf(pattern), {}, nullptr);
}

bool ObjectPath::matchesPattern(const ObjectPath& pattern, const ObjectPathPatternConfig& config) const {
    return matchesWithOptions(Impl::levelsOf(*this), Impl::levelsOf(pattern), config, nullptr);
}

std::optional<ObjectPathCaptures> ObjectPath::capture(const ObjectPath& pattern,
                                                      const ObjectPathPatternConfig& config) const {
    const Levels segments = Impl::levelsOf(pattern);
    std::optional<ObjectPathCaptures> captures(std::in_place);
    captures->elements_.resize(segments.size());
    if (!matchesWithOptions(Impl::levelsOf(*this), segments, config, captures->elements_.data())) {
        captures.reset();
    }
    return captures;
}

}  // namespace Tavik
