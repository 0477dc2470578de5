/// @file
/// Internal: the nodes of a pattern tree, and its edges by string.
///
/// The patterns `/dev`, `/dev[bus=*]/port`, `/dev[bus=usb]` and `/.../port` are this tree. Each node is drawn as its
/// number and the patterns that end there:
///
///     0 --name dev--> 1 (/dev) --key bus--> 2 --any value--> 3 --name port--> 4 (/dev[bus=*]/port)
///     |                                     `--value usb--> 5 (/dev[bus=usb])
///     `--any sequence--> 6 --name port--> 7 (/.../port)
///
/// A match takes these edges at every level of a path, so each kind of edge is found in its own way:
/// - Edges of wildcards and of the end of a path are fields of the node where they begin.
/// - An edge by string that is the only one of its kind from a node, as all of these are, is a field, too. Most nodes
///   of long patterns have no other edge, and comparing a string is cheaper than hashing it.
/// - All other edges of the tree are in one hash table, under the node where they begin, their kind and their string.
///   So one look-up finds the value among those of a thousand patterns `/dev[id=1]`, `/dev[id=2]` and so on.
///
/// The table is hand-written, because a match consists mostly of look-ups: with linear probing and eight bytes a slot,
/// a look-up reads one cache line. Erasing an edge moves later edges back instead of leaving a mark, so patterns that
/// come and go never make a look-up longer, and neither erasing nor inserting allocates.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Patterns/Pattern.h>

namespace Tavik::Impl {

/// A node of a pattern tree.
enum class NodeIndex : std::uint32_t { root = 0, none = UINT32_MAX };

/// A pattern of a set.
enum class PatternIndex : std::uint32_t { none = UINT32_MAX };

/// The nodes where the edges by string of one kind lead from a node: a list that is linked by `PatternNode::next`.
struct Children {
    NodeIndex first = NodeIndex::none;
    std::uint32_t count = 0;
};

/// A node with the edge that leads to it.
struct PatternNode {
    String text;     // of the edge to this node; empty for a wildcard
    Children texts;  // by the name of the next segment or, where a key leads here, by its value: no node has both
    Children keys;   // by the key of a further attribute of the same segment
    NodeIndex any = NodeIndex::none;                  // where "*" leads: any next segment, or any value
    NodeIndex sequence = NodeIndex::none;             // where "..." leads
    NodeIndex pathEnd = NodeIndex::none;              // where the end of a path leads
    NodeIndex parent = NodeIndex::none;               // where the edge to this node begins
    NodeIndex next = NodeIndex::none;                 // in the list of children, or in that of free nodes
    PatternIndex lowestPattern = PatternIndex::none;  // no pattern that has this node has a smaller index
    PatternIndex pattern = PatternIndex::none;        // the smallest index of the patterns that end here
    StepKind kind = StepKind::name;                   // of the edge to this node
    bool leadsOn = false;                             // to the next level, or to the end of a path
    bool isAfterSequence = false;                     // after "...", so that it may match at several levels
    bool endsSeveral = false;                         // more than one pattern ends here
};

/// A string to find edges by, which is hashed at most once, and not at all if all edges that are compared with it are
/// single. Refers to the string, which must outlive it.
class HashedText {
public:
    explicit HashedText(const String& text) noexcept : text_(&text) {}

    [[nodiscard]] const String& text() const noexcept { return *text_; }
    [[nodiscard]] std::uint64_t hash() noexcept {
        if (!isHashed_) {
            hash_ = text_->keyedHash();
            isHashed_ = true;
        }
        return hash_;
    }

private:
    const String* text_;
    std::uint64_t hash_ = 0;
    bool isHashed_ = false;
};

/// An edge by string: where it begins, its kind and its string.
struct Edge {
    NodeIndex from;
    StepKind kind;
    HashedText& text;
};

/// Secret factors, drawn once for each process.
struct EdgeSecret {
    std::uint64_t ofKeys;
    std::uint64_t ofOthers;
    std::uint64_t ofNodes;
};
extern const EdgeSecret edgeSecret;

/// Tests count the slots that a look-up reads; the library does not.
struct Uncounted {
    void operator++() const noexcept {}
};
inline constexpr Uncounted uncounted;

/// The hash of an edge under keys of the process.
///
/// Patterns are untrusted: their author chooses strings and, through the order of adding, node numbers. Colliding
/// strings are hard to choose, because `keyedHash` has a key. For one string at many nodes, both factors of the
/// product are secret, and each of its halves depends on all bits of a factor. So the difference of two nodes does not
/// tell how far apart their edges are, as it would with a public factor, or with the lower half of the product alone.
[[nodiscard]] inline std::uint32_t hashOfEdge(NodeIndex from, StepKind kind, std::uint64_t textHash) noexcept {
    __extension__ using Word2 = unsigned __int128;
    constexpr std::uint64_t spread = 0x9e37'79b9'7f4a'7c15;  // spreads low bits over all of the factor
    const std::uint64_t secret = kind == StepKind::key ? edgeSecret.ofKeys : edgeSecret.ofOthers;
    const Word2 product = Word2{textHash} * (static_cast<std::uint32_t>(from) * spread ^ secret);
    return static_cast<std::uint32_t>(
        (static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64)) >> 32);
}

/// The hash of a node alone: a factor takes the place of the hash of a string, since one of the two must be secret.
[[nodiscard]] inline std::uint32_t hashOfNode(NodeIndex node) noexcept {
    return hashOfEdge(node, StepKind::anySequence, edgeSecret.ofNodes);
}

/// The edges that are not the only ones of their kind from a node. Refers to nodes by their index in an array, which
/// the caller passes.
class EdgeTable {
public:
    /// The node where an edge leads; `none` if there is no such edge. There must be some edge.
    template <typename Count = const Uncounted>
    [[nodiscard]] NodeIndex find(const std::vector<PatternNode>& nodes,
                                 const Edge& edge,
                                 Count& probes = uncounted) const noexcept {
        const std::uint32_t hash = hashOfEdge(edge.from, edge.kind, edge.text.hash());
        for (std::size_t position = homeOf(hash);; position = after(position)) {
            ++probes;
            const Slot& slot = slots_[position];
            if (slot.node == NodeIndex::none || (slot.hash == hash && isAt(nodes, slot.node, edge))) {
                return slot.node;
            }
        }
    }

    /// Makes room for `more` edges. Throws `std::bad_alloc` with the table unchanged.
    void reserve(std::size_t more);

    /// Inserts the edge to a node, which must not be there. There must be room.
    void insert(const PatternNode& node, NodeIndex index) noexcept { insert({index, hashOf(node)}); }

    /// Erases the edge to a node, which must be there.
    void erase(const PatternNode& node, NodeIndex index) noexcept;

private:
    /// The node where an edge leads, and the hash of the edge.
    struct Slot {
        NodeIndex node = NodeIndex::none;
        std::uint32_t hash = 0;
    };

    [[nodiscard]] static std::uint32_t hashOf(const PatternNode& node) noexcept {
        return hashOfEdge(node.parent, node.kind, node.text.keyedHash());
    }
    [[nodiscard]] static bool isAt(const std::vector<PatternNode>& nodes, NodeIndex index, const Edge& edge) noexcept {
        const PatternNode& node = nodes[static_cast<std::size_t>(index)];
        return node.parent == edge.from && node.kind == edge.kind && node.text == edge.text.text();
    }
    [[nodiscard]] std::size_t homeOf(std::uint32_t hash) const noexcept { return hash >> shift_; }
    [[nodiscard]] std::size_t after(std::size_t position) const noexcept {
        return (position + 1) & (slots_.size() - 1);
    }
    /// How many slots `position` is after `start`.
    [[nodiscard]] std::size_t distance(std::size_t start, std::size_t position) const noexcept {
        return (position - start) & (slots_.size() - 1);
    }
    void insert(Slot slot) noexcept;

    std::vector<Slot> slots_;  // a power of two, at least twice `used_`
    std::size_t used_ = 0;
    unsigned shift_ = 0;  // leaves as many bits of a hash as there are slots
};

}  // namespace Tavik::Impl
