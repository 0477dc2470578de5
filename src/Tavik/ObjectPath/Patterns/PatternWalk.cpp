// Following a path through the tree of a set of patterns.

#include <Tavik/ObjectPath/Patterns/PatternWalk.h>

#include <array>
#include <cstddef>
#include <optional>
#include <utility>

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/LevelAttributes.h>
#include <Tavik/ObjectPath/Patterns/NodeSet.h>

namespace Tavik::Impl {
namespace {

/// Follows a path through the tree, level by level. A node that matches all levels so far is active.
///
/// Once the node of a `...` is active, it stays so at all later levels; every other node is active for one level. A
/// node has a single parent, so it is reached at most once at each level.
class PatternWalk {
public:
    PatternWalk(const PatternTree& tree, AcceptNode accept) noexcept : tree_(tree), accept_(accept) {}
    PatternWalk(const PatternWalk&) = delete;
    PatternWalk& operator=(const PatternWalk&) = delete;

    void run(const ObjectPath& path);

private:
    using NodeList = boost::container::small_vector<NodeIndex, 32>;

    /// A node from which keys lead on, and the position of the first attribute that may have one of these keys.
    struct OpenNode {
        NodeIndex node;
        std::size_t start;
    };
    using OpenNodes = boost::container::small_vector<OpenNode, 32>;

    [[nodiscard]] bool isPending() const noexcept;
    void step(const Level& level);
    void reach(NodeIndex index);
    void complete(NodeIndex index, const PatternNode& node);
    void finish();
    void follow(NodeIndex index, const Level& level, HashedText& name);
    void reachSegment(NodeIndex index, const Level& level);
    void followAttributes(NodeIndex segment, const Level& level);
    void followKey(NodeIndex key, std::size_t start, OpenNodes& open);
    void followValue(NodeIndex key, std::size_t position, OpenNodes& open);

    const PatternTree& tree_;
    AcceptNode accept_;
    Interest interest_;
    std::array<NodeList, 2> lists_;
    NodeList* active_ = lists_.data();
    NodeList* next_ = lists_.data() + 1;
    NodeList sequences_;                         // the active nodes of `...`
    NodeSet completed_;                          // only nodes that may be reached at several levels
    std::optional<LevelAttributes> attributes_;  // of the present level, once they are needed
};

inline void PatternWalk::run(const ObjectPath& path) {
    const Levels levels = levelsOf(path);
    reach(NodeIndex::root);
    for (auto level = levels.begin(); level != levels.end() && isPending(); ++level) {
        std::swap(active_, next_);
        next_->clear();
        attributes_.reset();
        step(*level);
    }
    finish();
}

inline bool PatternWalk::isPending() const noexcept {
    return !interest_.isOver() && (!next_->empty() || !sequences_.empty());
}

/// Reaches the nodes where a level leads from all active nodes.
inline void PatternWalk::step(const Level& level) {
    HashedText name(level.segment->name);
    const std::size_t sequenceCount = sequences_.size();  // without nodes that become active now
    for (const NodeIndex index : *active_) {
        follow(index, level, name);
    }
    for (std::size_t i = 0; i < sequenceCount; ++i) {
        follow(sequences_[i], level, name);
    }
}

/// Makes a node active at the next level.
inline void PatternWalk::reach(NodeIndex index) {
    const PatternNode& node = tree_.node(index);
    if (!interest_.includes(node)) {
        return;
    }
    if (node.pattern != PatternIndex::none || node.sequence != NodeIndex::none) {
        complete(index, node);
    }
    if (node.leadsOn) {
        next_->push_back(index);
    }
}

/// Accepts the patterns that end at a node and activates the `...` that comes after it, unless an earlier level did
/// so. Out of line, because few nodes have either.
[[gnu::noinline]] void PatternWalk::complete(NodeIndex index, const PatternNode& node) {
    if (node.isAfterSequence && !completed_.insert(index)) {
        return;
    }
    if (node.sequence != NodeIndex::none) {
        sequences_.push_back(node.sequence);
    }
    if (node.pattern != PatternIndex::none) {
        accept_(node, interest_);
    }
}

/// Accepts the patterns of whole paths, after the last level.
inline void PatternWalk::finish() {
    for (const NodeIndex index : *next_) {
        const NodeIndex end = tree_.node(index).pathEnd;
        if (end != NodeIndex::none && interest_.includes(tree_.node(end))) {
            accept_(tree_.node(end), interest_);
        }
    }
}

/// Reaches the nodes where a level leads from an active node.
inline void PatternWalk::follow(NodeIndex index, const Level& level, HashedText& name) {
    const PatternNode& node = tree_.node(index);
    if (!interest_.includes(node)) {
        return;
    }
    if (node.any != NodeIndex::none) {
        reachSegment(node.any, level);
    }
    const NodeIndex named = tree_.findName(index, name);
    if (named != NodeIndex::none) {
        reachSegment(named, level);
    }
}

/// Reaches the node of the name of a level or of any segment, and those where the attributes lead from there.
inline void PatternWalk::reachSegment(NodeIndex index, const Level& level) {
    reach(index);
    if (tree_.node(index).keys.count > 0) {
        followAttributes(index, level);
    }
}

/// Reaches the nodes where attributes of a level lead. The keys of the level are in ascending order, as those of each
/// pattern are. So a node that one attribute led to looks only at later ones.
///
/// The smaller side is looked up in the other one: the keys that lead on from a node among those of the level, or the
/// other way round. So a node costs no more than its children, however many attributes the level has.
[[gnu::noinline]] void PatternWalk::followAttributes(NodeIndex segment, const Level& level) {
    if (!attributes_) {
        attributes_.emplace(level);
    }
    OpenNodes open(1, {segment, 0});
    while (!open.empty()) {
        const auto [index, start] = open.back();
        open.pop_back();
        const PatternNode& node = tree_.node(index);
        if (!interest_.includes(node)) {
            continue;
        }
        if (node.keys.count == 1) {
            followKey(node.keys.first, start, open);
        } else if (node.keys.count > attributes_->size() - start) {
            for (std::size_t position = start; position < attributes_->size(); ++position) {
                const NodeIndex key = tree_.findKey(index, attributes_->hashedKey(position));
                if (key != NodeIndex::none) {
                    followValue(key, position, open);
                }
            }
        } else {
            for (NodeIndex key = node.keys.first; key != NodeIndex::none; key = tree_.node(key).next) {
                followKey(key, start, open);
            }
        }
    }
}

/// Follows the attribute with the key of a node, if the level has such an attribute from `start` on.
inline void PatternWalk::followKey(NodeIndex key, std::size_t start, OpenNodes& open) {
    const std::size_t position = attributes_->find(tree_.node(key).text, start);
    if (position < attributes_->size()) {
        followValue(key, position, open);
    }
}

/// Reaches the nodes where the value of an attribute leads from its key.
inline void PatternWalk::followValue(NodeIndex key, std::size_t position, OpenNodes& open) {
    const auto reachValue = [&](NodeIndex index) {
        if (index != NodeIndex::none) {
            reach(index);
            if (tree_.node(index).keys.count > 0) {
                open.push_back({index, position + 1});
            }
        }
    };
    if (tree_.node(key).texts.count > 1) {
        reachValue(tree_.findValue(key, attributes_->hashedValue(position)));
    } else {
        HashedText value(attributes_->value(position));
        reachValue(tree_.findValue(key, value));
    }
    reachValue(tree_.node(key).any);
}

}  // namespace

/// Everything is inline that is not marked otherwise: most of a match is here, and calls cost it a sixth more.
[[gnu::flatten]] void walkThrough(const PatternTree& tree, const ObjectPath& path, AcceptNode accept) {
    PatternWalk(tree, accept).run(path);
}

}  // namespace Tavik::Impl
