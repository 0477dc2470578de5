/// @file
/// The prefix tree behind a set of patterns.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// A string to find edges by. It is hashed at most once, and not at all where no node has several edges. Refers to the
/// string, which must outlive it.
class EdgeText {
public:
    explicit EdgeText(const String& text) noexcept : text_(text) {}

    [[nodiscard]] const String& text() const noexcept { return text_; }
    [[nodiscard]] std::uint64_t hash() noexcept {
        if (!isHashed_) {
            hash_ = text_.keyedHash();
            isHashed_ = true;
        }
        return hash_;
    }

private:
    const String& text_;
    std::uint64_t hash_ = 0;
    bool isHashed_ = false;
};

/// Patterns that share their common beginnings. A pattern is read as a sequence of steps, each an edge of the tree: a
/// name, `*` or `...`; after a name, the key of each attribute and its value, or `*` for any value. So patterns that
/// differ only in a value share all but the last edge, and each edge is found at once.
///
/// All edges by string of the whole tree are in one hash table, except those of nodes with a single one: most nodes of
/// long patterns have no more, and comparing one string is cheaper than hashing it.
class PatternTree {
public:
    /// The index of a node or of a pattern.
    using Index = std::uint32_t;

    static constexpr Index root = 0;
    static constexpr Index none = UINT32_MAX;

    /// Edges by string from one node.
    struct Edges {
        Index first = none;
        Index count = 0;
    };

    struct Node {
        String text;                // of the edge to this node; empty for `*` and `...`
        Edges texts;                // the names of the next segment; the values where a key leads here
        Edges keys;                 // of further attributes of the same segment
        Index any = none;           // where `*` leads: any next segment, any value
        Index sequence = none;      // where `...` leads
        Index origin = none;        // the edges that this node belongs to, see `find`; none for `*` and `...`
        Index lowest = 0;           // the smallest index of the patterns that this node belongs to
        Index firstPattern = none;  // of those that end here, by ascending index
        Index lastPattern = none;
        bool recurs = false;  // comes after `...`, so that it may match at several levels
    };

    PatternTree() : nodes_(1) {}

    /// Adds a pattern, which may be a copy of one in `patterns()`, and returns its index. Throws `std::bad_alloc` with
    /// the tree unchanged.
    std::size_t add(ObjectPath pattern);

    [[nodiscard]] const Node& node(Index index) const noexcept { return nodes_[index]; }
    [[nodiscard]] const std::vector<ObjectPath>& patterns() const noexcept { return patterns_; }
    /// The next pattern that ends at the same node; `none` after the last one.
    [[nodiscard]] Index nextPattern(Index pattern) const noexcept { return nextPatterns_[pattern]; }

    /// Where a name or a value leads from `parent`; `none` if nowhere.
    [[nodiscard]] Index findText(Index parent, EdgeText& text) const noexcept {
        return find(nodes_[parent].texts, 2 * parent, text);
    }
    /// Where a key leads from `parent`; `none` if nowhere.
    [[nodiscard]] Index findKey(Index parent, EdgeText& key) const noexcept {
        return find(nodes_[parent].keys, 2 * parent + 1, key);
    }

private:
    /// An edge in the hash table: the node that it leads to, and some bits of its hash.
    struct Slot {
        Index node = none;
        std::uint32_t tag = 0;
    };

    /// Where to look for an edge.
    struct Place {
        std::size_t slot;
        std::uint32_t tag;
    };

    /// An origin stands for the edges of one kind from one node: twice the node for `texts`, one more for `keys`.
    [[nodiscard]] Index find(const Edges& edges, Index origin, EdgeText& text) const noexcept {
        if (edges.count <= 1) {
            return edges.count == 1 && nodes_[edges.first].text == text.text() ? edges.first : none;
        }
        for (Place place = placeOf(origin, text.hash());; place.slot = nextSlot(place.slot)) {
            const Slot& slot = slots_[place.slot];
            if (slot.node == none || (slot.tag == place.tag && nodes_[slot.node].origin == origin &&
                                      nodes_[slot.node].text == text.text())) {
                return slot.node;
            }
        }
    }

    /// The products hide the hash of the string, and spread what differs in the origin alone.
    [[nodiscard]] Place placeOf(Index origin, std::uint64_t textHash) const noexcept {
        const std::uint64_t hash = (textHash + origin * 0x9e3779b97f4a7c15) * 0xd1342543de82ef95;
        return {hash >> slotShift_, static_cast<std::uint32_t>(hash)};
    }
    [[nodiscard]] std::size_t nextSlot(std::size_t slot) const noexcept { return (slot + 1) & (slots_.size() - 1); }

    void reserve(std::size_t newNodes);
    void growTable();
    void insert(Index node) noexcept;
    [[nodiscard]] Edges& edgesFrom(Index origin) noexcept;
    [[nodiscard]] Index create(Index parent) noexcept;
    [[nodiscard]] Index obtainWildcard(Index parent, Index Node::*wildcard) noexcept;
    [[nodiscard]] Index obtainText(Index origin, const String& text) noexcept;
    [[nodiscard]] Index obtainAttribute(Index parent, const String& key, const String& value) noexcept;

    std::vector<Node> nodes_;
    std::vector<ObjectPath> patterns_;
    std::vector<Index> nextPatterns_;
    std::vector<Slot> slots_;  // a power of two, at least twice `slotsUsed_`
    std::size_t slotsUsed_ = 0;
    unsigned slotShift_ = 0;
};

}  // namespace Tavik::Impl
