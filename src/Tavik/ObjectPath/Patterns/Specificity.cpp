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
            return 1;
        case SegmentKind::anySequence:
            return 2;
    }
    __builtin_unreachable();
}

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

/// The order of the kinds at the first level where they differ. Levels are compared from the leaf to the root, so the
/// last difference that is found decides. A pattern that has no such level counts as a "..." there.
int compareKinds(const ObjectPath& left,
                 std::size_t leftDepth,
                 const ObjectPath& right,
                 std::size_t rightDepth) noexcept {
    int order = 0;
    const Segment* leftLevel = left.segment.get();
    const Segment* rightLevel = right.segment.get();
    for (std::size_t depth = std::max(leftDepth, rightDepth); depth > 0; --depth) {
        SegmentKind leftKind = SegmentKind::anySequence;
        SegmentKind rightKind = SegmentKind::anySequence;
        if (depth <= leftDepth) {
            leftKind = kindOf(*leftLevel);
            leftLevel = leftLevel->parent.get();
        }
        if (depth <= rightDepth) {
            rightKind = kindOf(*rightLevel);
            rightLevel = rightLevel->parent.get();
        }
        if (leftKind != rightKind) {
            order = rankOf(leftKind) - rankOf(rightKind);
        }
    }
    return order;
}

}  // namespace

bool isMoreSpecific(const ObjectPath& left, const ObjectPath& right) noexcept {
    const std::size_t leftDepth = left.depth();
    const std::size_t rightDepth = right.depth();
    if (const int order = compareKinds(left, leftDepth, right, rightDepth); order != 0) {
        return order < 0;
    }
    const AttributeCounts leftCounts(left);
    const AttributeCounts rightCounts(right);
    return std::tuple(leftCounts.fixed, leftCounts.any, leftDepth) >
           std::tuple(rightCounts.fixed, rightCounts.any, rightDepth);
}

}  // namespace Tavik
