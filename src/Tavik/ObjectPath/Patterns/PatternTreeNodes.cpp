// Creating and freeing the nodes of a pattern tree.

#include <algorithm>
#include <new>
#include <utility>

#include <Tavik/ObjectPath/Patterns/PatternTree.h>

namespace Tavik::Impl {
namespace {

/// Keeps the table at no more than 2^32 slots, which a 32-bit hash can address.
constexpr std::size_t maximumNodes = std::size_t{1} << 31;

/// Makes room for more elements. Grows by a factor, which `reserve` alone does not.
template <typename Element>
void reserveMore(std::vector<Element>& elements, std::size_t more) {
    if (elements.capacity() - elements.size() < more) {
        elements.reserve(std::max(elements.size() + more, 2 * elements.capacity()));
    }
}

void noteWhetherItLeadsOn(PatternNode& node) noexcept {
    node.leadsOn = node.texts.count > 0 || node.any != NodeIndex::none || node.pathEnd != NodeIndex::none;
}

}  // namespace

/// Makes room for more nodes. Throws `std::bad_alloc`, maybe with more room than before.
void PatternTree::reserveNodes(std::size_t more) {
    more -= std::min(more, freeCount_);
    if (more > maximumNodes - nodes_.size()) {
        throw std::bad_alloc();
    }
    reserveMore(nodes_, more);
    reserveMore(upkeep_, more);
}

/// A new node, where a step leads from `parent`. There must be room, so references to nodes stay valid.
NodeIndex PatternTree::create(NodeIndex parent, const Step& step) noexcept {
    auto index = static_cast<NodeIndex>(nodes_.size());
    if (free_ != NodeIndex::none) {
        index = free_;
        free_ = std::exchange(node(index).next, NodeIndex::none);
        --freeCount_;
    } else {
        nodes_.emplace_back();
        upkeep_.emplace_back();
    }
    PatternNode& child = node(index);
    child.text = step.text != nullptr ? *step.text : String();
    child.parent = parent;
    child.kind = step.kind;
    child.isAfterSequence = node(parent).isAfterSequence || step.kind == StepKind::anySequence;
    attach(index);
    return index;
}

void PatternTree::destroy(NodeIndex index) noexcept {
    detach(index);
    node(index) = {};
    upkeepOf(index) = {};
    node(index).next = std::exchange(free_, index);
    ++freeCount_;
}

/// Records a new node at its parent.
void PatternTree::attach(NodeIndex child) noexcept {
    PatternNode& parent = node(node(child).parent);
    switch (node(child).kind) {
        case StepKind::name:
        case StepKind::value:
            attachTo(parent.texts, child);
            break;
        case StepKind::key:
            attachTo(parent.keys, child);
            break;
        case StepKind::anyValue:
        case StepKind::anySegment:
            parent.any = child;
            break;
        case StepKind::anySequence:
            parent.sequence = child;
            break;
        case StepKind::pathEnd:
            parent.pathEnd = child;
            break;
    }
    noteWhetherItLeadsOn(parent);
}

/// The opposite of `attach`.
void PatternTree::detach(NodeIndex child) noexcept {
    PatternNode& parent = node(node(child).parent);
    switch (node(child).kind) {
        case StepKind::name:
        case StepKind::value:
            detachFrom(parent.texts, child);
            break;
        case StepKind::key:
            detachFrom(parent.keys, child);
            break;
        case StepKind::anyValue:
        case StepKind::anySegment:
            parent.any = NodeIndex::none;
            break;
        case StepKind::anySequence:
            parent.sequence = NodeIndex::none;
            break;
        case StepKind::pathEnd:
            parent.pathEnd = NodeIndex::none;
            break;
    }
    noteWhetherItLeadsOn(parent);
}

/// A single edge is not in the table. It is inserted together with the second one.
void PatternTree::attachTo(Children& children, NodeIndex child) noexcept {
    const NodeIndex next = std::exchange(children.first, child);
    node(child).next = next;
    if (next != NodeIndex::none) {
        upkeepOf(next).previous = child;
        edges_.insert(node(child), child);
    }
    if (++children.count == 2) {
        edges_.insert(node(next), next);
    }
}

/// The opposite of `attachTo`. When one of two edges is erased, the other one is single again and leaves the table,
/// too.
void PatternTree::detachFrom(Children& children, NodeIndex child) noexcept {
    const auto [next, previous] = std::pair(node(child).next, upkeepOf(child).previous);
    if (previous == NodeIndex::none) {
        children.first = next;
    } else {
        node(previous).next = next;
    }
    if (next != NodeIndex::none) {
        upkeepOf(next).previous = previous;
    }
    if (--children.count > 0) {
        edges_.erase(node(child), child);
    }
    if (children.count == 1) {
        edges_.erase(node(children.first), children.first);
    }
}

}  // namespace Tavik::Impl
