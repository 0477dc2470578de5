// Building the prefix tree of a set of patterns.

#include <Tavik/ObjectPath/Patterns/PatternTree.h>

#include <algorithm>
#include <bit>
#include <new>
#include <utility>

#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/Wildcards.h>

namespace Tavik::Impl {
namespace {

/// So that every origin differs from `PatternTree::none`.
constexpr std::size_t maximumNodes = PatternTree::none / 2;

/// The greatest number of nodes that a pattern takes: one for a wildcard or a name, two for an attribute.
std::size_t countSteps(const Levels& levels) noexcept {
    std::size_t count = 0;
    for (const Level& level : levels) {
        count += 1 + 2 * level.segment->attributeKeys.size();
    }
    return count;
}

/// Makes room for more elements. Grows by a factor, which `reserve` alone does not.
template <typename Element>
void reserveMore(std::vector<Element>& elements, std::size_t more) {
    if (elements.capacity() - elements.size() < more) {
        elements.reserve(std::max(elements.size() + more, 2 * elements.capacity()));
    }
}

}  // namespace

/// Whatever may throw comes first. `...` at the end, or after another one, changes nothing, and `.../*` selects what
/// `*/...` does. So a node for `...` is made only before a name, and only names lead on from it.
std::size_t PatternTree::add(ObjectPath pattern) {
    const Levels levels = levelsOf(pattern);
    reserve(countSteps(levels));

    Index end = root;
    bool skips = false;
    for (const Level& level : levels) {
        if (isBare(*level.segment, anySequence)) {
            skips = true;
        } else if (isBare(*level.segment, anyOne)) {
            end = obtainWildcard(end, &Node::any);
        } else {
            end = skips ? obtainWildcard(end, &Node::sequence) : end;
            skips = false;
            end = obtainText(2 * end, level.segment->name);
            const Value* value = level.values;
            for (const String& key : level.segment->attributeKeys) {
                end = obtainAttribute(end, key, value->value);
                value = value->previous.get();
            }
        }
    }

    const auto index = static_cast<Index>(patterns_.size());
    Node& node = nodes_[end];
    (node.firstPattern == none ? node.firstPattern : nextPatterns_[node.lastPattern]) = index;
    node.lastPattern = index;
    patterns_.push_back(std::move(pattern));
    nextPatterns_.push_back(none);
    return index;
}

/// Makes room for one more pattern. It takes at most two more slots: where it leaves the tree, its edge and the one
/// that was alone there. All nodes after that have a single edge.
void PatternTree::reserve(std::size_t newNodes) {
    if (newNodes > maximumNodes - nodes_.size() || patterns_.size() >= none) {
        throw std::bad_alloc();
    }
    reserveMore(nodes_, newNodes);
    reserveMore(patterns_, 1);
    reserveMore(nextPatterns_, 1);
    if (2 * (slotsUsed_ + 2) > slots_.size()) {
        growTable();
    }
}

void PatternTree::growTable() {
    std::vector<Slot> slots(std::max<std::size_t>(8, 2 * slots_.size()));
    slots_.swap(slots);
    slotShift_ = 64U - static_cast<unsigned>(std::countr_zero(slots_.size()));
    slotsUsed_ = 0;
    for (const Slot& slot : slots) {
        if (slot.node != none) {
            insert(slot.node);
        }
    }
}

void PatternTree::insert(Index node) noexcept {
    Place place = placeOf(nodes_[node].origin, nodes_[node].text.keyedHash());
    while (slots_[place.slot].node != none) {
        place.slot = nextSlot(place.slot);
    }
    slots_[place.slot] = {node, place.tag};
    ++slotsUsed_;
}

PatternTree::Edges& PatternTree::edgesFrom(Index origin) noexcept {
    Node& node = nodes_[origin / 2];
    return origin % 2 == 0 ? node.texts : node.keys;
}

/// A new node. There is room for it, so references to others stay valid.
PatternTree::Index PatternTree::create(Index parent) noexcept {
    const auto index = static_cast<Index>(nodes_.size());
    Node& node = nodes_.emplace_back();
    node.lowest = static_cast<Index>(patterns_.size());
    node.recurs = nodes_[parent].recurs;
    return index;
}

/// The node where a wildcard leads from `parent`, created if there is none.
PatternTree::Index PatternTree::obtainWildcard(Index parent, Index Node::*wildcard) noexcept {
    if (nodes_[parent].*wildcard == none) {
        const Index child = create(parent);
        nodes_[child].recurs |= wildcard == &Node::sequence;
        nodes_[parent].*wildcard = child;
    }
    return nodes_[parent].*wildcard;
}

/// The node where a string leads from `origin`, created if there is none.
PatternTree::Index PatternTree::obtainText(Index origin, const String& text) noexcept {
    Edges& edges = edgesFrom(origin);
    EdgeText edgeText(text);
    const Index found = find(edges, origin, edgeText);
    if (found != none) {
        return found;
    }
    const Index child = create(origin / 2);
    nodes_[child].text = text;
    nodes_[child].origin = origin;
    if (edges.count == 0) {
        edges.first = child;
    } else {
        if (edges.count == 1) {
            insert(edges.first);
        }
        insert(child);
    }
    ++edges.count;
    return child;
}

/// The node where an attribute leads from `parent`, created if there is none.
PatternTree::Index PatternTree::obtainAttribute(Index parent, const String& key, const String& value) noexcept {
    const Index keyNode = obtainText(2 * parent + 1, key);
    return value == anyOne ? obtainWildcard(keyNode, &Node::any) : obtainText(2 * keyNode, value);
}

}  // namespace Tavik::Impl
