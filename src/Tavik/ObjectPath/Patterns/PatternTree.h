/// @file
/// Internal: the prefix tree behind a set of patterns.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

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
    PatternTree() : nodes_(1), removals_(1) {}

    /// Adds a pattern, which may be a copy of one in `patterns()`, and returns its index. Throws `std::bad_alloc` with
    /// the tree unchanged.
    PatternIndex add(ObjectPath pattern);

    /// Removes a pattern, which must be there.
    void remove(PatternIndex index) noexcept;

    /// The index of a pattern that is equal to `pattern`; `none` if there is none. Throws `std::bad_alloc`.
    [[nodiscard]] PatternIndex find(const ObjectPath& pattern) const;

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

    [[nodiscard]] NodeIndex follow(NodeIndex from, const Step& step) const noexcept;
    void reserveNodes(std::size_t more);
    [[nodiscard]] NodeIndex create(NodeIndex parent, const Step& step) noexcept;
    void attach(NodeIndex child) noexcept;
    void detach(NodeIndex child) noexcept;
    void attachTo(Children& children, NodeIndex child) noexcept;
    void detachFrom(Children& children, NodeIndex child) noexcept;
    void destroy(NodeIndex index) noexcept;
    [[nodiscard]] PatternIndex lowestOf(const PatternNode& node) const noexcept;

    PatternList patterns_;  // first, as its size is in it: printers for gdb find that without debug symbols
    std::vector<PatternNode> nodes_;
    std::vector<std::uint32_t> removals_;  // of patterns below each node, since its `lowestPattern` was computed
    EdgeTable edges_;
    NodeIndex free_ = NodeIndex::none;  // the first free node; linked by `PatternNode::next`
    std::size_t freeCount_ = 0;
};

}  // namespace Tavik::Impl
