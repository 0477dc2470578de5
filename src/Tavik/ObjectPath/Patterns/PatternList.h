/// @file
/// Internal: the patterns of a set by their indexes.

#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Patterns/Edges.h>

namespace Tavik::Impl {

/// An index for programs; empty if it is `none`.
[[nodiscard]] inline std::optional<std::size_t> numberOf(PatternIndex index) noexcept {
    return index == PatternIndex::none ? std::nullopt : std::optional(static_cast<std::size_t>(index));
}

/// A pattern with its options, the node where it ends, and the pattern of the next greater index that ends there.
struct ListedPattern {
    ObjectPath path;
    ObjectPathPatternConfig config;
    NodeIndex end = NodeIndex::none;
    PatternIndex next = PatternIndex::none;
};

/// Patterns by index. The index of a removed pattern is used again, beginning with the last removal.
class PatternList {
public:
    /// The number of patterns.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool contains(std::size_t index) const noexcept {
        return index < entries_.size() && entries_[index].end != NodeIndex::none;
    }
    /// Whether some pattern has other options than the defaults.
    [[nodiscard]] bool haveOptions() const noexcept { return withOptions_ > 0; }

    [[nodiscard]] const ListedPattern& operator[](PatternIndex index) const noexcept { return at(index); }

    /// The smallest index of a pattern that is not less than `start`; SIZE_MAX if there is none.
    [[nodiscard]] std::size_t nextFrom(std::size_t start) const noexcept;

    /// Makes room for one pattern and returns its index: the one that was removed last, or one that is greater than
    /// all in use if `isLast` or if there is none. Throws `std::bad_alloc` with the list unchanged.
    [[nodiscard]] PatternIndex reserveOne(bool isLast);

    /// Adds a pattern at the index that `reserveOne` returned for it. If `isLast`, gives up all greater indexes.
    void add(PatternIndex index, ListedPattern pattern, bool isLast) noexcept;

    /// Removes a pattern.
    void remove(PatternIndex index) noexcept;

    /// Change what is noted of a pattern.
    /// @{
    void setEnd(PatternIndex index, NodeIndex end) noexcept { at(index).end = end; }
    void setNext(PatternIndex index, PatternIndex next) noexcept { at(index).next = next; }
    /// @}

private:
    /// A pattern, or a free index in the list of these.
    struct Entry : ListedPattern {
        PatternIndex previous = PatternIndex::none;  // in the list of free indexes
    };

    [[nodiscard]] const Entry& at(PatternIndex index) const noexcept {
        return entries_[static_cast<std::size_t>(index)];
    }
    [[nodiscard]] Entry& at(PatternIndex index) noexcept { return entries_[static_cast<std::size_t>(index)]; }

    /// Takes an index out of the list of free ones.
    void unlink(PatternIndex index) noexcept;

    std::size_t size_ = 0;         // first: see `PatternTree`
    std::size_t withOptions_ = 0;  // of these
    std::vector<Entry> entries_;
    PatternIndex free_ = PatternIndex::none;  // the last index that was removed
};

}  // namespace Tavik::Impl
