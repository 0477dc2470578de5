// Adding patterns to the prefix tree of a set, and removing them.

#include <Tavik/ObjectPath/Patterns/PatternTree.h>

#include <algorithm>
#include <new>
#include <utility>

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

/// The number of nodes to which edges lead from a node.
std::uint32_t countChildren(const PatternNode& node) noexcept {
    return node.texts.count + node.keys.count + (node.any != NodeIndex::none ? 1 : 0) +
           (node.sequence != NodeIndex::none ? 1 : 0) + (node.pathEnd != NodeIndex::none ? 1 : 0);
}

void noteWhetherItLeadsOn(PatternNode& node) noexcept {
    node.leadsOn = node.texts.count > 0 || node.any != NodeIndex::none || node.pathEnd != NodeIndex::none;
}

}  // namespace

std::unique_ptr<PatternTree> PatternTree::copy() const {
    if (freeCount_ <= nodes_.size() / 2) {
        return std::make_unique<PatternTree>(*this);
    }
    auto copy = std::make_unique<PatternTree>();
    copy->reserveNodes(nodes_.size() - freeCount_);
    copy->patterns_ = patterns_;
    for (std::size_t i = patterns_.nextFrom(0); i != SIZE_MAX; i = patterns_.nextFrom(i + 1)) {
        const auto index = static_cast<PatternIndex>(i);
        copy->patterns_.setEnd(index, copy->insert(index, patterns_[index].path, patterns_[index].config));
    }
    return copy;
}

PatternIndex PatternTree::add(ObjectPath pattern, const ObjectPathPatternConfig& config, bool isLast) {
    const PatternIndex index = patterns_.reserveOne(isLast);
    const NodeIndex end = insert(index, pattern, config);
    patterns_.add(index, {std::move(pattern), config, end}, isLast);
    return index;
}

/// Makes a pattern end at the node where its steps lead, and returns this node. Throws `std::bad_alloc` with the tree
/// unchanged.
NodeIndex PatternTree::insert(PatternIndex index, const ObjectPath& pattern, const ObjectPathPatternConfig& config) {
    const Levels levels = levelsOf(pattern);
    const Steps steps = stepsOf(levels, config);
    NodeIndex end = NodeIndex::root;
    auto step = steps.begin();
    for (NodeIndex next = end; step != steps.end(); end = next, ++step) {
        next = follow(end, *step);
        if (next == NodeIndex::none) {
            break;
        }
    }

    // Whatever may throw comes before the first change. The pattern adds at most two edges to the table, both at the
    // node where it leaves the tree: its own edge, and the edge that was single so far. All later nodes are new and
    // have single edges, which are not in the table.
    reserveNodes(static_cast<std::size_t>(steps.end() - step));
    edges_.reserve(2);
    const bool isFirst = step != steps.end() || node(end).pattern == PatternIndex::none;
    if (!isFirst) {
        followers_.insert({end, std::max(index, node(end).pattern)});
    }

    for (; step != steps.end(); ++step) {
        end = create(end, *step);
    }
    PatternNode& last = node(end);
    last.endsSeveral = !isFirst;
    last.pattern = std::min(last.pattern, index);
    for (NodeIndex ancestor = end; ancestor != NodeIndex::none && index < node(ancestor).lowestPattern;
         ancestor = node(ancestor).parent) {
        node(ancestor).lowestPattern = index;
    }
    return end;
}

/// Frees the nodes that no other pattern has, then notes the removal at the remaining nodes of the pattern.
///
/// Computing the `lowestPattern` of a node takes a look at all its children. So it stays as it is, a lower bound, until
/// as many patterns have been removed below the node as it has children, which takes amortised constant time for each
/// node of the pattern.
void PatternTree::remove(PatternIndex index) noexcept {
    NodeIndex remaining = patterns_[index].end;
    PatternNode& end = node(remaining);
    if (end.endsSeveral) {
        const auto follower = followers_.lower_bound({remaining, index});
        const bool isFirst = end.pattern == index;
        end.pattern = isFirst ? follower->second : end.pattern;
        followers_.erase(follower);
        end.endsSeveral = !followersAt(remaining).empty();
    } else {
        end.pattern = PatternIndex::none;
    }
    patterns_.remove(index);
    while (remaining != NodeIndex::root && node(remaining).pattern == PatternIndex::none &&
           countChildren(node(remaining)) == 0) {
        const NodeIndex parent = node(remaining).parent;
        destroy(remaining);
        remaining = parent;
    }
    for (; remaining != NodeIndex::none; remaining = node(remaining).parent) {
        std::uint32_t& removals = upkeepOf(remaining).removals;
        if (++removals >= countChildren(node(remaining))) {
            node(remaining).lowestPattern = lowestOf(node(remaining));
            removals = 0;
        }
    }
}

PatternIndex PatternTree::find(const ObjectPath& pattern, const ObjectPathPatternConfig& config) const {
    const Levels levels = levelsOf(pattern);
    NodeIndex end = NodeIndex::root;
    for (const Step& step : stepsOf(levels, config)) {
        end = follow(end, step);
        if (end == NodeIndex::none) {
            return PatternIndex::none;
        }
    }
    const auto isEqual = [&](PatternIndex index) {
        return patterns_[index].path == pattern && patterns_[index].config == config;
    };
    const PatternIndex first = node(end).pattern;
    if (first == PatternIndex::none || isEqual(first)) {
        return first;
    }
    const auto followers = followersAt(end);
    const auto found = std::find_if(followers.begin(), followers.end(),
                                    [&](const auto& follower) { return isEqual(follower.second); });
    return found == followers.end() ? PatternIndex::none : found->second;
}

/// Where a step leads from a node; `none` if nowhere.
NodeIndex PatternTree::follow(NodeIndex from, const Step& step) const noexcept {
    switch (step.kind) {
        case StepKind::name: {
            HashedText name(*step.text);
            return findName(from, name);
        }
        case StepKind::key: {
            HashedText key(*step.text);
            return findKey(from, key);
        }
        case StepKind::value: {
            HashedText value(*step.text);
            return findValue(from, value);
        }
        case StepKind::anyValue:
        case StepKind::anySegment:
            return node(from).any;
        case StepKind::anySequence:
            return node(from).sequence;
        case StepKind::pathEnd:
            return node(from).pathEnd;
    }
    __builtin_unreachable();
}

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

/// A lower bound of the indexes of the patterns that have a node; exact where those of its children are.
PatternIndex PatternTree::lowestOf(const PatternNode& node) const noexcept {
    PatternIndex lowest = node.pattern;
    for (const Children& children : {node.texts, node.keys}) {
        for (NodeIndex child = children.first; child != NodeIndex::none; child = this->node(child).next) {
            lowest = std::min(lowest, this->node(child).lowestPattern);
        }
    }
    for (const NodeIndex child : {node.any, node.sequence, node.pathEnd}) {
        if (child != NodeIndex::none) {
            lowest = std::min(lowest, this->node(child).lowestPattern);
        }
    }
    return lowest;
}

}  // namespace Tavik::Impl
