/// @file
/// Internal: following a path through the tree of a set of patterns.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/Edges.h>
#include <Tavik/ObjectPath/Patterns/NodeSet.h>
#include <Tavik/ObjectPath/Patterns/PatternTree.h>

namespace Tavik::Impl {

/// The attributes of a level of a path, to find them by key and by position. Allocates only for more than 16.
class LevelAttributes {
public:
    /// Throws `std::bad_alloc`.
    explicit LevelAttributes(const Level& level) : keys_(level.segment->attributeKeys) {
        values_.reserve(keys_.size());
        for (const auto& attribute : attributesOf(level)) {
            values_.push_back(&attribute.second);
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return keys_.size(); }
    [[nodiscard]] const String& value(std::size_t position) const noexcept { return *values_[position]; }

    /// The key and the value for look-ups where there are several edges. Each throws `std::bad_alloc`.
    /// @{
    [[nodiscard]] HashedText& hashedKey(std::size_t position) {
        if (hashedKeys_.empty()) {
            hashedKeys_.reserve(size());
            for (const String& key : keys_) {
                hashedKeys_.emplace_back(key);
            }
        }
        return hashedKeys_[position];
    }
    [[nodiscard]] HashedText& hashedValue(std::size_t position) {
        if (hashedValues_.empty()) {
            hashedValues_.reserve(size());
            for (const String* value : values_) {
                hashedValues_.emplace_back(*value);
            }
        }
        return hashedValues_[position];
    }
    /// @}

    /// The position of `key` if it is at `start` or later; `size()` if it is not. Doubles its steps from `start` on and
    /// then halves them, so searching for several keys in ascending order takes linear time for all of them.
    [[nodiscard]] std::size_t find(const String& key, std::size_t start) const noexcept {
        std::size_t end = start;
        for (std::size_t step = 1; end < size(); end += step, step *= 2) {
            if (keys_[end] == key) {
                return end;
            }
            if (keys_[end].compare(key) > 0) {
                break;
            }
            start = end + 1;
        }
        end = std::min(end, size());
        while (start < end) {
            const std::size_t middle = start + (end - start) / 2;
            const int order = keys_[middle].compare(key);
            if (order == 0) {
                return middle;
            }
            if (order < 0) {
                start = middle + 1;
            } else {
                end = middle;
            }
        }
        return size();
    }

private:
    using HashedTexts = boost::container::small_vector<HashedText, 16>;
    const std::vector<String>& keys_;
    boost::container::small_vector<const String*, 16> values_;
    HashedTexts hashedKeys_;    // empty until one is needed, because large blocks are dear
    HashedTexts hashedValues_;  // likewise
};

/// Follows a path through the tree, level by level. A node that matches all levels so far is active.
///
/// Once the node of a `...` is active, it stays so at all later levels; every other node is active for one level. A
/// node has a single parent, so it is reached at most once at each level.
///
/// Calls `accept(node, limit)` once for each node that is reached and at which patterns end. The call may lower
/// `limit`: from then on, only patterns of smaller indexes are of interest.
template <typename Accept>
class PatternWalk {
public:
    PatternWalk(const PatternTree& tree, Accept accept) : tree_(tree), accept_(accept) {}

    /// Throws `std::bad_alloc`.
    void run(const ObjectPath& path) {
        const Levels levels = levelsOf(path);
        reach(NodeIndex::root);
        for (auto level = levels.begin(); level != levels.end() && isPending(); ++level) {
            std::swap(active_, next_);
            next_->clear();
            attributes_.reset();
            step(*level);
        }
    }

private:
    using NodeList = boost::container::small_vector<NodeIndex, 32>;

    [[nodiscard]] bool isPending() const noexcept {
        return limit_ > PatternIndex{0} && (!next_->empty() || !sequences_.empty());
    }

    /// Whether a pattern of interest has this node.
    [[nodiscard]] bool isOfInterest(const PatternNode& node) const noexcept { return node.lowestPattern < limit_; }

    /// Everything is inline that is not marked otherwise: most of a match is here, and calls cost it a sixth more.
    [[gnu::flatten]] void step(const Level& level) {
        HashedText name(level.segment->name);
        const std::size_t sequenceCount = sequences_.size();  // without nodes that become active now
        for (const NodeIndex index : *active_) {
            if (const NodeIndex any = tree_.node(index).any; any != NodeIndex::none) {
                reach(any);
            }
            follow(index, level, name);
        }
        for (std::size_t i = 0; i < sequenceCount; ++i) {
            follow(sequences_[i], level, name);
        }
    }

    /// Makes a node active at the next level.
    void reach(NodeIndex index) {
        const PatternNode& node = tree_.node(index);
        if (!isOfInterest(node)) {
            return;
        }
        if (node.pattern != PatternIndex::none || node.sequence != NodeIndex::none) {
            complete(index, node);
        }
        if (node.texts.count > 0 || node.any != NodeIndex::none) {
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
            accept_(node, limit_);
        }
    }

    /// Reaches the nodes where the name and the attributes of a level lead.
    void follow(NodeIndex index, const Level& level, HashedText& name) {
        if (!isOfInterest(tree_.node(index))) {
            return;
        }
        const NodeIndex named = tree_.findName(index, name);
        if (named != NodeIndex::none) {
            reach(named);
            if (tree_.node(named).keys.count > 0) {
                followAttributes(named, level);
            }
        }
    }

    /// Reaches the nodes where attributes of a level lead. The keys of the level are in ascending order, as those of
    /// each pattern are. So a node that one attribute led to looks only at later ones.
    ///
    /// The smaller side is looked up in the other one: the keys that lead on from a node among those of the level, or
    /// the other way round. So a node costs no more than its children, however many attributes the level has.
    [[gnu::noinline]] void followAttributes(NodeIndex named, const Level& level) {
        if (!attributes_) {
            attributes_.emplace(level);
        }
        OpenNodes open(1, {named, 0});
        while (!open.empty()) {
            const auto [index, start] = open.back();
            open.pop_back();
            const PatternNode& node = tree_.node(index);
            if (!isOfInterest(node)) {
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
    PatternIndex limit_ = PatternIndex::none;
    std::array<NodeList, 2> lists_;
    NodeList* active_ = lists_.data();
    NodeList* next_ = lists_.data() + 1;
    NodeList sequences_;                         // the active nodes of `...`
    NodeSet completed_;                          // only nodes that may be reached at several levels
    std::optional<LevelAttributes> attributes_;  // of the present level, once they are needed
};

}  // namespace Tavik::Impl
