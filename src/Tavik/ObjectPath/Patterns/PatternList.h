/// @file
/// Internal: the patterns of a set by their indexes, and which of them end at the same node.

#pragma once

#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Patterns/Edges.h>

namespace Tavik::Impl {

/// Patterns by index. The index of a removed pattern is used again, beginning with the last removal.
///
/// The patterns that end at a node are linked in ascending order of their indexes. Equal patterns may come and go in
/// any number, so an ordered set of all but the first pattern of each node finds the place of a new one. A match needs
/// the links alone.
class PatternList {
public:
    /// The number of patterns.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool contains(std::size_t index) const noexcept {
        return index < links_.size() && links_[index].end != NodeIndex::none;
    }
    [[nodiscard]] const ObjectPath& operator[](PatternIndex index) const noexcept {
        return paths_[static_cast<std::size_t>(index)];
    }
    /// The node where a pattern ends.
    [[nodiscard]] NodeIndex endOf(PatternIndex index) const noexcept { return at(index).end; }

    /// The next pattern that ends at the same node; `none` after the last one.
    [[nodiscard]] PatternIndex next(PatternIndex index) const noexcept { return at(index).next; }

    /// Makes room for one pattern. Throws `std::bad_alloc` with the list unchanged.
    void reserveOne();

    /// Adds a pattern, for which there must be room. `first` is the first one that ends at the same node. If there is
    /// one, this throws `std::bad_alloc` with the list unchanged.
    [[nodiscard]] PatternIndex add(ObjectPath path, NodeIndex end, PatternIndex first);

    /// Removes a pattern.
    void remove(PatternIndex index) noexcept;

private:
    /// What a match reads, apart from the paths, so that more of it fits into the caches.
    struct Links {
        NodeIndex end = NodeIndex::none;             // none while there is no pattern with this index
        PatternIndex next = PatternIndex::none;      // at the same node; a free index while there is no pattern
        PatternIndex previous = PatternIndex::none;  // at the same node
    };

    [[nodiscard]] const Links& at(PatternIndex index) const noexcept { return links_[static_cast<std::size_t>(index)]; }
    [[nodiscard]] Links& at(PatternIndex index) noexcept { return links_[static_cast<std::size_t>(index)]; }

    std::size_t size_ = 0;           // first: see `PatternTree`
    std::vector<ObjectPath> paths_;  // the root path where there is no pattern
    std::vector<Links> links_;
    std::set<std::pair<NodeIndex, PatternIndex>> followers_;  // by the node where they end: all but its first pattern
    PatternIndex free_ = PatternIndex::none;                  // the last index that was removed
};

}  // namespace Tavik::Impl
