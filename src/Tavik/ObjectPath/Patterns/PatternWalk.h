/// @file
/// Internal: following a path through the tree of a set of patterns.

#pragma once

#include <absl/functional/function_ref.h>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Patterns/Edges.h>
#include <Tavik/ObjectPath/Patterns/PatternTree.h>

namespace Tavik::Impl {

/// Which patterns are still of interest to a match: all, at first.
class Interest {
public:
    /// From now on, only patterns of smaller indexes than `limit`.
    void onlyBelow(PatternIndex limit) noexcept { limit_ = limit; }

    /// None, so that the match ends.
    void stop() noexcept { onlyBelow(PatternIndex{0}); }

    [[nodiscard]] bool isOver() const noexcept { return limit_ == PatternIndex{0}; }

    /// Whether a pattern of interest has this node.
    [[nodiscard]] bool includes(const PatternNode& node) const noexcept { return node.lowestPattern < limit_; }

private:
    PatternIndex limit_ = PatternIndex::none;
};

/// Is called once for each node that a path reaches and at which patterns end.
using AcceptNode = absl::FunctionRef<void(const PatternNode& node, Interest& interest)>;

/// Follows a path through the tree from the root on. Throws `std::bad_alloc`, and what `accept` throws.
void walkThrough(const PatternTree& tree, const ObjectPath& path, AcceptNode accept);

}  // namespace Tavik::Impl
