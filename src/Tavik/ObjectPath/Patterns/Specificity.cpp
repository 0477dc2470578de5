// Which of two patterns is more specific.

#include <algorithm>
#include <tuple>

#include <Tavik/ObjectPath/PatternSet.h>
#include <Tavik/ObjectPath/Patterns/Pattern.h>

namespace Tavik {
namespace {

using Impl::Segment;
using Impl::SegmentKind;
using Impl::ValueKind;

/// The more specific kind has the lower rank.
int rankOf(SegmentKind kind) noexcept {
    switch (kind) {
        case SegmentKind::name:
            return 0;
        case SegmentKind::anySegment:
        case SegmentKind::anyName:
            return 1;
        case SegmentKind::anySequence:
            return 3;
    }
    __builtin_unreachable();
}

/// The rank of what is beyond the last segment: the end of the path, or anything.
int rankOfEnd(const ObjectPathPatternConfig& config) noexcept {
    return config.wholePath ? 2 : rankOf(SegmentKind::anySequence);
}

/// A pattern with its options, and the number of its segments.
struct Pattern {
    Pattern(const ObjectPath& pattern, const ObjectPathPatternConfig& options) noexcept
        : path(pattern), config(options), depth(pattern.depth()) {}

    const ObjectPath& path;
    const ObjectPathPatternConfig& config;
    std::size_t depth;
};

/// The attributes of a pattern by the kind of their values.
struct AttributeCounts {
    explicit AttributeCounts(const ObjectPath& pattern) noexcept {
        for (const Impl::Value* value = pattern.values.get(); value != nullptr; value = value->previous.get()) {
            switch (kindOf(*value)) {
                case ValueKind::value:
                    ++fixed;
                    break;
                case ValueKind::anyValue:
                    ++any;
                    break;
            }
        }
    }

    std::size_t fixed = 0;
    std::size_t any = 0;
};

/// The order of the kinds at the first level where they differ. Levels are compared from beyond the leaf to the root,
/// so the last difference that is found decides.
int compareKinds(const Pattern& left, const Pattern& right) noexcept {
    int order = rankOfEnd(left.config) - rankOfEnd(right.config);
    const Segment* leftLevel = left.path.segment.get();
    const Segment* rightLevel = right.path.segment.get();
    for (std::size_t depth = std::max(left.depth, right.depth); depth > 0; --depth) {
        int leftRank = rankOfEnd(left.config);
        int rightRank = rankOfEnd(right.config);
        if (depth <= left.depth) {
            leftRank = rankOf(kindOf(*leftLevel, left.config));
            leftLevel = leftLevel->parent.get();
        }
        if (depth <= right.depth) {
            rightRank = rankOf(kindOf(*rightLevel, right.config));
            rightLevel = rightLevel->parent.get();
        }
        if (leftRank != rightRank) {
            order = leftRank - rightRank;
        }
    }
    return order;
}

}  // namespace

bool isMoreSpecific(const ObjectPath& left, const ObjectPath& right) noexcept {
    return isMoreSpecific(left, {}, right, {});
}

bool isMoreSpecific(const ObjectPath& left,
                    const ObjectPathPatternConfig& leftConfig,
                    const ObjectPath& right,
                    const ObjectPathPatternConfig& rightConfig) noexcept {
    const Pattern leftPattern(left, leftConfig);
    const Pattern rightPattern(right, rightConfig);
    if (const int order = compareKinds(leftPattern, rightPattern); order != 0) {
        return order < 0;
    }
    const AttributeCounts leftCounts(left);
    const AttributeCounts rightCounts(right);
    return std::tuple(leftCounts.fixed, leftCounts.any, leftPattern.depth) >
           std::tuple(rightCounts.fixed, rightCounts.any, rightPattern.depth);
}

}  // namespace Tavik
