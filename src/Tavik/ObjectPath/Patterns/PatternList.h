/// @file
/// Internal: the patterns of a set by their indexes, and which of them end at the same node.

#pragma once

#include <cstddef>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Patterns/Edges.h>

namespace Tavik::Impl {

/// Patterns by index. The index of a removed pattern is used again, that of the last one first.
///
/// The patterns that end at one node are a pairing heap, named by its smallest index: that must be known at once, and
/// any number of patterns may end at a node when equal ones come and go. Its links are in the list, so no change of a
/// heap allocates. Removing one of n patterns takes amortised time logarithmic in n, all else is constant.
class PatternList {
public:
    /// The number of patterns.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool contains(std::size_t index) const noexcept {
        return index < entries_.size() && entries_[index].end != NodeIndex::none;
    }
    [[nodiscard]] const ObjectPath& operator[](PatternIndex index) const noexcept { return at(index).path; }
    /// The node where a pattern ends.
    [[nodiscard]] NodeIndex endOf(PatternIndex index) const noexcept { return at(index).end; }

    /// Makes room for one pattern. Throws `std::bad_alloc` with the list unchanged.
    void reserveOne();

    /// Adds a pattern, for which there must be room.
    [[nodiscard]] PatternIndex add(ObjectPath path, NodeIndex end) noexcept;

    /// Removes a pattern, which must be in no heap.
    void remove(PatternIndex index) noexcept;

    /// The heap of all patterns of two heaps, each of which may be `none`.
    [[nodiscard]] PatternIndex meld(PatternIndex left, PatternIndex right) noexcept;

    /// The heap without a pattern that it holds; `none` if that was its only one.
    [[nodiscard]] PatternIndex extract(PatternIndex heap, PatternIndex index) noexcept;

    /// Whether a heap holds more than one pattern.
    [[nodiscard]] bool hasSeveral(PatternIndex heap) const noexcept { return at(heap).child != PatternIndex::none; }

    /// The pattern after another one of its heap, in no particular order; `none` after the last one. Begin with the
    /// smallest one. Amortised constant time for a whole heap.
    [[nodiscard]] PatternIndex nextInHeap(PatternIndex index) const noexcept;

private:
    struct Entry {
        ObjectPath path;
        NodeIndex end = NodeIndex::none;             // none while there is no pattern with this index
        PatternIndex child = PatternIndex::none;     // the first one
        PatternIndex next = PatternIndex::none;      // sibling; the next free index while there is no pattern
        PatternIndex previous = PatternIndex::none;  // sibling, or the parent of a first child
    };

    [[nodiscard]] const Entry& at(PatternIndex index) const noexcept {
        return entries_[static_cast<std::size_t>(index)];
    }
    [[nodiscard]] Entry& at(PatternIndex index) noexcept { return entries_[static_cast<std::size_t>(index)]; }
    [[nodiscard]] PatternIndex meldSiblings(PatternIndex first) noexcept;

    std::vector<Entry> entries_;
    std::size_t size_ = 0;
    PatternIndex free_ = PatternIndex::none;  // the last index that was removed
};

}  // namespace Tavik::Impl
