// Adding patterns to the prefix tree of a set, and removing them.

#include <Tavik/ObjectPath/Patterns/PatternTree.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tavik::Impl {
namespace {

/// The number of nodes to which edges lead from a node.
std::uint32_t countChildren(const PatternNode& node) noexcept {
    return node.texts.count + node.keys.count + (node.any != NodeIndex::none ? 1 : 0) +
           (node.sequence != NodeIndex::none ? 1 : 0) + (node.pathEnd != NodeIndex::none ? 1 : 0);
}

}  // namespace

std::unique_ptr<PatternTree> PatternTree::copy() const {
    if (freeCount_ <= nodes_.size() / 2) {
        return std::make_unique<PatternTree>(*this);
    }
    auto copy = std::make_unique<PatternTree>();
    copy->reserveNodes(nodes_.size() - freeCount_);
    copy->patterns_ = patterns_;  // with its links, since the same patterns end at the same nodes
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
    link(index);
    return index;
}

/// Makes a pattern end at the node where its steps lead, and returns this node, where it is to be linked. Throws
/// `std::bad_alloc` with the tree unchanged.
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
    const PatternIndex next = patterns_[index].next;
    if (end.pattern == index) {
        end.pattern = next;
        if (next != PatternIndex::none) {
            followers_.erase({remaining, next});
        }
    } else {
        patterns_.setNext(previous(index), next);
        followers_.erase({remaining, index});
    }
    end.endsSeveral = end.pattern != PatternIndex::none && patterns_[end.pattern].next != PatternIndex::none;
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

/// Puts a pattern into the list of those that end at its node.
void PatternTree::link(PatternIndex index) noexcept {
    const NodeIndex end = patterns_[index].end;
    if (!node(end).endsSeveral) {
        return;
    }
    const auto follower = followers_.upper_bound({end, index});
    const bool isLast = follower == followers_.end() || follower->first != end;
    patterns_.setNext(index, isLast ? PatternIndex::none : follower->second);
    if (node(end).pattern != index) {
        patterns_.setNext(previous(index), index);
    }
}

/// The pattern before another one that ends at the same node and is not the first one there.
PatternIndex PatternTree::previous(PatternIndex index) const noexcept {
    const NodeIndex end = patterns_[index].end;
    const auto follower = followers_.lower_bound({end, index});
    const bool isSecond = follower == followers_.begin() || std::prev(follower)->first != end;
    return isSecond ? node(end).pattern : std::prev(follower)->second;
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
    PatternIndex index = node(end).pattern;
    while (index != PatternIndex::none && (patterns_[index].path != pattern || patterns_[index].config != config)) {
        index = patterns_[index].next;
    }
    return index;
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
