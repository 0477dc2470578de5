// Matching a path against a set of patterns.

#include <Tavik/ObjectPath/PatternSet.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/LevelAttributes.h>
#include <Tavik/ObjectPath/Patterns/NodeSet.h>
#include <Tavik/ObjectPath/Patterns/PatternTree.h>

namespace Tavik {
namespace Impl {
namespace {

/// Which patterns are still of interest to a match: all, at first.
class Interest {
public:
    /// From now on, only patterns of smaller indexes than `limit`.
    void onlyBelow(PatternIndex limit) noexcept { limit_ = limit; }

    /// None, so that the match ends.
    void stop() noexcept { onlyBelow(PatternIndex{0}); }

    [[nodiscard]] bool isOver() const noexcept { return limit_ == PatternIndex{0}; }

    /// Whether a pattern of interest has this node.
    [[nodiscard]] bool includes(const PatternNode& node) const noexcept { return node.lowestPattern < limit_; }

private:
    PatternIndex limit_ = PatternIndex::none;
};

/// Follows a path through the tree, level by level. A node that matches all levels so far is active.
///
/// Once the node of a `...` is active, it stays so at all later levels; every other node is active for one level. A
/// node has a single parent, so it is reached at most once at each level.
///
/// Calls `accept(node, interest)` once for each node that is reached and at which patterns end. Called by reference
/// instead, a match would take 1.5 to 3.3 % more instructions.
///
/// Where no pattern has options, nothing is looked for that only such patterns need.
template <bool haveOptions, typename Accept>
class PatternWalk {
public:
    PatternWalk(const PatternTree& tree, Accept accept) noexcept : tree_(tree), accept_(accept) {}
    PatternWalk(const PatternWalk&) = delete;
    PatternWalk& operator=(const PatternWalk&) = delete;

    /// Throws `std::bad_alloc`.
    void run(const Levels& levels) {
        reach(NodeIndex::root);
        for (auto level = levels.begin(); level != levels.end() && isPending(); ++level) {
            std::swap(active_, next_);
            next_->clear();
            attributes_.reset();
            step(*level);
        }
        if constexpr (haveOptions) {
            finish();
        }
    }

private:
    using NodeList = boost::container::small_vector<NodeIndex, 32>;

    [[nodiscard]] bool isPending() const noexcept {
        return !interest_.isOver() && (!next_->empty() || !sequences_.empty());
    }

    /// Everything is inline that is not marked otherwise: most of a match is here, and calls cost it a sixth more.
    [[gnu::flatten]] void step(const Level& level) {
        HashedText name(level.segment->name);
        const std::size_t sequenceCount = sequences_.size();  // without nodes that become active now
        for (const NodeIndex index : *active_) {
            if (const NodeIndex any = tree_.node(index).any; any != NodeIndex::none) {
                haveOptions ? reachSegment(any, level) : reach(any);
            }
            follow(index, level, name);
        }
        for (std::size_t i = 0; i < sequenceCount; ++i) {
            if constexpr (haveOptions) {
                if (const NodeIndex any = tree_.node(sequences_[i]).any; any != NodeIndex::none) {
                    reachSegment(any, level);
                }
            }
            follow(sequences_[i], level, name);
        }
    }

    /// Makes a node active at the next level.
    void reach(NodeIndex index) {
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
    [[gnu::noinline]] void complete(NodeIndex index, const PatternNode& node) {
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
    void finish() {
        for (const NodeIndex index : *next_) {
            const NodeIndex end = tree_.node(index).pathEnd;
            if (end != NodeIndex::none && interest_.includes(tree_.node(end))) {
                accept_(tree_.node(end), interest_);
            }
        }
    }

    /// Reaches the nodes where the name and the attributes of a level lead.
    void follow(NodeIndex index, const Level& level, HashedText& name) {
        if (!interest_.includes(tree_.node(index))) {
            return;
        }
        const NodeIndex named = tree_.findName(index, name);
        if (named != NodeIndex::none) {
            reachSegment(named, level);
        }
    }

    /// Reaches the node of a name or of any segment, and those where the attributes of the level lead from there.
    void reachSegment(NodeIndex index, const Level& level) {
        reach(index);
        if (tree_.node(index).keys.count > 0) {
            followAttributes(index, level);
        }
    }

    /// Reaches the nodes where attributes of a level lead. The keys of the level are in ascending order, as those of
    /// each pattern are. So a node that one attribute led to looks only at later ones.
    ///
    /// The smaller side is looked up in the other one: the keys that lead on from a node among those of the level, or
    /// the other way round. So a node costs no more than its children, however many attributes the level has.
    [[gnu::noinline]] void followAttributes(NodeIndex segment, const Level& level) {
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

    /// A node from which keys lead on, and the position of the first attribute that may have one of these keys.
    struct OpenNode {
        NodeIndex node;
        std::size_t start;
    };
    using OpenNodes = boost::container::small_vector<OpenNode, 32>;

    /// Follows the attribute with the key of a node, if the level has such an attribute from `start` on.
    void followKey(NodeIndex key, std::size_t start, OpenNodes& open) {
        const std::size_t position = attributes_->find(tree_.node(key).text, start);
        if (position < attributes_->size()) {
            followValue(key, position, open);
        }
    }

    /// Reaches the nodes where the value of an attribute leads from its key.
    void followValue(NodeIndex key, std::size_t position, OpenNodes& open) {
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

    const PatternTree& tree_;
    Accept accept_;
    Interest interest_;
    std::array<NodeList, 2> lists_;
    NodeList* active_ = lists_.data();
    NodeList* next_ = lists_.data() + 1;
    NodeList sequences_;                         // the active nodes of `...`
    NodeSet completed_;                          // only nodes that may be reached at several levels
    std::optional<LevelAttributes> attributes_;  // of the present level, once they are needed
};

/// Out of line, so that the other walk has the registers for itself.
template <typename Accept>
[[gnu::noinline]] void walkWithOptions(const PatternTree& tree, const Levels& levels, Accept accept) {
    PatternWalk<true, Accept>(tree, accept).run(levels);
}

template <typename Accept>
[[gnu::always_inline]] inline void walkThrough(const PatternTree& tree, const ObjectPath& path, Accept accept) {
    const Levels levels = levelsOf(path);
    if (tree.patterns().haveOptions()) {
        walkWithOptions(tree, levels, accept);
    } else {
        PatternWalk<false, Accept>(tree, accept).run(levels);
    }
}

}  // namespace
}  // namespace Impl

void ObjectPathPatternSet::match(const ObjectPath& path, std::vector<std::size_t>& indexes) const {
    indexes.clear();
    if (tree_ == nullptr) {
        return;
    }
    const auto collect = [this, &indexes](const Impl::PatternNode& node, const Impl::Interest& /*interest*/) {
        indexes.push_back(static_cast<std::size_t>(node.pattern));
        if (node.endsSeveral) {
            const Impl::PatternList& patterns = tree_->patterns();
            for (Impl::PatternIndex index = patterns[node.pattern].next; index != Impl::PatternIndex::none;
                 index = patterns[index].next) {
                indexes.push_back(static_cast<std::size_t>(index));
            }
        }
    };
    Impl::walkThrough(*tree_, path, collect);
    std::sort(indexes.begin(), indexes.end());
}

bool ObjectPathPatternSet::matchesAny(const ObjectPath& path) const {
    bool found = false;
    if (tree_ != nullptr) {
        const auto stop = [&found](const Impl::PatternNode& /*node*/, Impl::Interest& interest) {
            found = true;
            interest.stop();
        };
        Impl::walkThrough(*tree_, path, stop);
    }
    return found;
}

std::optional<std::size_t> ObjectPathPatternSet::firstMatch(const ObjectPath& path) const {
    Impl::PatternIndex first = Impl::PatternIndex::none;
    if (tree_ != nullptr) {
        const auto minimize = [&first](const Impl::PatternNode& node, Impl::Interest& interest) {
            first = std::min(first, node.pattern);
            interest.onlyBelow(first);
        };
        Impl::walkThrough(*tree_, path, minimize);
    }
    return Impl::numberOf(first);
}

}  // namespace Tavik
