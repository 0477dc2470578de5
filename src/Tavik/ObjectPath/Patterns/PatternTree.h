/// @file
/// Internal: the prefix tree behind a set of patterns.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include <absl/container/btree_set.h>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Patterns/Edges.h>
#include <Tavik/ObjectPath/Patterns/Pattern.h>
#include <Tavik/ObjectPath/Patterns/PatternList.h>

namespace Tavik::Impl {

/// Patterns that share their common beginnings: the steps of a pattern are edges of the tree. `Edges.h` draws a tree.
///
/// Nodes live in an array. A node without patterns is freed, and used again before the array grows.
class PatternTree {
public:
    PatternTree() : nodes_(1), upkeep_(1) {}

    /// A copy with the same indexes, which has no room for nodes that are free unless most are in use. Throws
    /// `std::bad_alloc`.
    [[nodiscard]] std::unique_ptr<PatternTree> copy() const;

    /// Adds a pattern, which may be a copy of one in `patterns()`, and returns its index, which is greater than all in
    /// use if `isLast`. Throws `std::bad_alloc` with the tree unchanged.
    PatternIndex add(ObjectPath pattern, const ObjectPathPatternConfig& config, bool isLast);

    /// Removes a pattern, which must be there.
    void remove(PatternIndex index) noexcept;

    /// The index of a pattern that is equal to `pattern` and has the same options; `none` if there is none. Throws
    /// `std::bad_alloc`.
    [[nodiscard]] PatternIndex find(const ObjectPath& pattern, const ObjectPathPatternConfig& config) const;

    [[nodiscard]] const PatternList& patterns() const noexcept { return patterns_; }
    [[nodiscard]] const PatternNode& node(NodeIndex index) const noexcept {
        return nodes_[static_cast<std::size_t>(index)];
    }
    /// Where a name leads from a node, or a value from the node of its key; `none` if nowhere.
    [[nodiscard]] NodeIndex findName(NodeIndex from, HashedText& name) const noexcept {
        return find(node(from).texts, {from, StepKind::name, name});
    }
    [[nodiscard]] NodeIndex findValue(NodeIndex from, HashedText& value) const noexcept {
        return find(node(from).texts, {from, StepKind::value, value});
    }
    /// Where a key leads from a node; `none` if nowhere.
    [[nodiscard]] NodeIndex findKey(NodeIndex from, HashedText& key) const noexcept {
        return find(node(from).keys, {from, StepKind::key, key});
    }

private:
    [[nodiscard]] NodeIndex find(const Children& children, const Edge& edge) const noexcept {
        if (children.count <= 1) {
            return children.count == 1 && node(children.first).text == edge.text.text() ? children.first
                                                                                        : NodeIndex::none;
        }
        return edges_.find(nodes_, edge);
    }

    [[nodiscard]] PatternNode& node(NodeIndex index) noexcept { return nodes_[static_cast<std::size_t>(index)]; }

    [[nodiscard]] NodeIndex insert(PatternIndex index,
                                   const ObjectPath& pattern,
                                   const ObjectPathPatternConfig& config);
    void link(PatternIndex index) noexcept;
    [[nodiscard]] PatternIndex previous(PatternIndex index) const noexcept;
    [[nodiscard]] NodeIndex follow(NodeIndex from, const Step& step) const noexcept;
    void reserveNodes(std::size_t more);
    [[nodiscard]] NodeIndex create(NodeIndex parent, const Step& step) noexcept;
    void attach(NodeIndex child) noexcept;
    void detach(NodeIndex child) noexcept;
    void attachTo(Children& children, NodeIndex child) noexcept;
    void detachFrom(Children& children, NodeIndex child) noexcept;
    void destroy(NodeIndex index) noexcept;
    [[nodiscard]] PatternIndex lowestOf(const PatternNode& node) const noexcept;

    /// What only changes need, apart from the nodes, so that more of what a match reads fits into the caches.
    struct Upkeep {
        NodeIndex previous = NodeIndex::none;  // in the list of children
        std::uint32_t removals = 0;            // of patterns below the node, since its `lowestPattern` was computed
    };
    [[nodiscard]] Upkeep& upkeepOf(NodeIndex index) noexcept { return upkeep_[static_cast<std::size_t>(index)]; }

    PatternList patterns_;  // first, as its size is in it: printers for gdb find that without debug symbols
    std::vector<PatternNode> nodes_;
    std::vector<Upkeep> upkeep_;
    EdgeTable edges_;
    /// At each node, all patterns but the first. Finds the place of another one in their list; a match follows the
    /// list, because it would take 15 % more instructions in a set of many equal patterns to look them up here.
    absl::btree_set<std::pair<NodeIndex, PatternIndex>> followers_;
    NodeIndex free_ = NodeIndex::none;  // linked by `PatternNode::next`
    std::size_t freeCount_ = 0;
};

}  // namespace Tavik::Impl
