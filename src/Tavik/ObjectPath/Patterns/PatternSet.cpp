// Matching a path against all patterns of a set.

#include <Tavik/ObjectPath/PatternSet.h>

#include <algorithm>
#include <array>

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/PatternTree.h>

namespace Tavik {
namespace {

using Impl::EdgeText;
using Impl::Level;
using Impl::PatternTree;
using Index = PatternTree::Index;
using Node = PatternTree::Node;
using Indexes = boost::container::small_vector<Index, 32>;

/// A hash set of nodes. Allocates only for more than 32.
class NodeSet {
public:
    /// Whether `node` was not in the set before.
    bool insert(Index node) {
        if (2 * count_ >= slots_.size()) {
            grow();
        }
        const bool isNew = place(node);
        count_ += isNew ? 1 : 0;
        return isNew;
    }

private:
    void grow() {
        const Slots old = slots_;
        slots_.assign(std::max<std::size_t>(64, 2 * old.size()), PatternTree::none);
        for (const Index node : old) {
            if (node != PatternTree::none) {
                place(node);
            }
        }
    }

    bool place(Index node) noexcept {
        std::size_t slot = node * 0x9e3779b97f4a7c15 >> 32;
        while (slots_[slot &= slots_.size() - 1] != PatternTree::none) {
            if (slots_[slot] == node) {
                return false;
            }
            ++slot;
        }
        slots_[slot] = node;
        return true;
    }

    using Slots = boost::container::small_vector<Index, 64>;
    Slots slots_;  // none or a power of two
    std::size_t count_ = 0;
};

/// Follows a path through the tree, level by level. A node that matches all levels so far is active.
///
/// The node of a `...` stays active at all later levels once it is, and every other node is active for one level. A
/// node has a single parent, so it becomes active at most once at each level.
///
/// Calls `accept(node)` once for each node that is reached and at which patterns end. Its result is the limit from then
/// on: only patterns of smaller indexes are of interest.
template <typename Accept>
class Walk {
public:
    Walk(const PatternTree& tree, Accept accept) : tree_(tree), accept_(accept) {}

    void run(const ObjectPath& path) {
        const Impl::Levels levels = Impl::levelsOf(path);
        activate(PatternTree::root);
        for (auto level = levels.begin(); level != levels.end() && isPending(); ++level) {
            std::swap(active_, next_);
            next_->clear();
            step(*level);
        }
    }

private:
    [[nodiscard]] bool isPending() const noexcept { return limit_ > 0 && (!next_->empty() || !sequences_.empty()); }

    void step(const Level& level) {
        EdgeText name(level.segment->name);
        const std::size_t sequenceCount = sequences_.size();  // without those that become active now
        for (const Index index : *active_) {
            if (const Index any = tree_.node(index).any; any != PatternTree::none) {
                activate(any);
            }
            follow(index, level, name);
        }
        for (std::size_t i = 0; i < sequenceCount; ++i) {
            follow(sequences_[i], level, name);
        }
    }

    /// Makes a node active at the next level.
    void activate(Index index) {
        const Node& node = tree_.node(index);
        if (node.lowest >= limit_) {
            return;
        }
        if (node.firstPattern != PatternTree::none || node.sequence != PatternTree::none) {
            complete(index, node);
        }
        if (node.texts.count > 0 || node.any != PatternTree::none) {
            next_->push_back(index);
        }
    }

    /// Accepts the patterns that end at a node and activates the `...` that comes after it, unless that was done at an
    /// earlier level. Out of line, because few nodes need it.
    [[gnu::noinline]] void complete(Index index, const Node& node) {
        if (node.recurs && !completed_.insert(index)) {
            return;
        }
        if (node.sequence != PatternTree::none) {
            sequences_.push_back(node.sequence);
        }
        if (node.firstPattern != PatternTree::none) {
            limit_ = accept_(node);
        }
    }

    /// Activates the nodes where the name and the attributes of a level lead.
    void follow(Index index, const Level& level, EdgeText& name) {
        if (tree_.node(index).lowest >= limit_) {
            return;
        }
        const Index named = tree_.findText(index, name);
        if (named != PatternTree::none) {
            activate(named);
            if (tree_.node(named).keys.count > 0) {
                followAttributes(named, level);
            }
        }
    }

    /// The keys of the level are in ascending order, as those of each pattern are. So every pattern whose attributes
    /// are among those of the level is found when each attribute leads on from the nodes that earlier ones led to.
    [[gnu::noinline]] void followAttributes(Index named, const Level& level) {
        Indexes reached(1, named);
        const Impl::Value* value = level.values;
        for (const String& levelKey : level.segment->attributeKeys) {
            EdgeText key(levelKey);
            EdgeText text(value->value);
            for (std::size_t i = 0, count = reached.size(); i < count; ++i) {
                const Index keyNode = tree_.findKey(reached[i], key);
                if (keyNode == PatternTree::none) {
                    continue;
                }
                for (const Index child : {tree_.findText(keyNode, text), tree_.node(keyNode).any}) {
                    if (child != PatternTree::none) {
                        activate(child);
                        reached.push_back(child);
                    }
                }
            }
            value = value->previous.get();
        }
    }

    const PatternTree& tree_;
    Accept accept_;
    Index limit_ = PatternTree::none;
    std::array<Indexes, 2> levels_;
    Indexes* active_ = levels_.data();
    Indexes* next_ = levels_.data() + 1;
    Indexes sequences_;  // those that are active
    NodeSet completed_;  // of the nodes that may be active at several levels
};

}  // namespace

ObjectPathPatternSet::ObjectPathPatternSet() noexcept = default;
ObjectPathPatternSet::ObjectPathPatternSet(const ObjectPathPatternSet& other)
    : tree_(other.tree_ == nullptr ? nullptr : std::make_unique<PatternTree>(*other.tree_)) {}
ObjectPathPatternSet::ObjectPathPatternSet(ObjectPathPatternSet&& other) noexcept = default;
ObjectPathPatternSet& ObjectPathPatternSet::operator=(const ObjectPathPatternSet& other) {
    return *this = ObjectPathPatternSet(other);
}
ObjectPathPatternSet& ObjectPathPatternSet::operator=(ObjectPathPatternSet&& other) noexcept = default;
ObjectPathPatternSet::~ObjectPathPatternSet() = default;

std::size_t ObjectPathPatternSet::add(const ObjectPath& pattern) {
    if (tree_ != nullptr) {
        return tree_->add(pattern);
    }
    auto tree = std::make_unique<PatternTree>();
    const std::size_t index = tree->add(pattern);
    tree_ = std::move(tree);
    return index;
}

std::vector<std::size_t> ObjectPathPatternSet::match(const ObjectPath& path) const {
    std::vector<std::size_t> indexes;
    match(path, indexes);
    return indexes;
}

void ObjectPathPatternSet::match(const ObjectPath& path, std::vector<std::size_t>& indexes) const {
    indexes.clear();
    if (tree_ == nullptr) {
        return;
    }
    const auto collect = [this, &indexes](const Node& node) {
        for (Index index = node.firstPattern; index != PatternTree::none; index = tree_->nextPattern(index)) {
            indexes.push_back(index);
        }
        return PatternTree::none;
    };
    Walk(*tree_, collect).run(path);
    std::sort(indexes.begin(), indexes.end());
}

bool ObjectPathPatternSet::matchesAny(const ObjectPath& path) const {
    bool found = false;
    if (tree_ != nullptr) {
        const auto stop = [&found](const Node&) {
            found = true;
            return Index{0};
        };
        Walk(*tree_, stop).run(path);
    }
    return found;
}

std::optional<std::size_t> ObjectPathPatternSet::firstMatch(const ObjectPath& path) const {
    Index first = PatternTree::none;
    if (tree_ != nullptr) {
        const auto minimize = [&first](const Node& node) { return first = std::min(first, node.firstPattern); };
        Walk(*tree_, minimize).run(path);
    }
    return first == PatternTree::none ? std::nullopt : std::optional<std::size_t>(first);
}

std::size_t ObjectPathPatternSet::size() const noexcept {
    return tree_ == nullptr ? 0 : tree_->patterns().size();
}

const ObjectPath& ObjectPathPatternSet::operator[](std::size_t index) const {
    if (index >= size()) {
        const std::size_t count = size();
        Impl::vfmassertb("", __FILE__, "operator[]", __LINE__, "pattern index out of range: there are {} patterns",
                         fmt::make_format_args(count));
    }
    return tree_->patterns()[index];
}

}  // namespace Tavik
