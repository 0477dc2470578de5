// Sets of patterns.

#include <Tavik/ObjectPath/PatternSet.h>

#include <algorithm>

#include <Tavik/ObjectPath/Patterns/PatternTree.h>
#include <Tavik/ObjectPath/Patterns/PatternWalk.h>

namespace Tavik {
namespace {

using Impl::PatternIndex;
using Impl::PatternNode;
using Impl::PatternTree;
using Impl::PatternWalk;

std::optional<std::size_t> numberOf(PatternIndex index) noexcept {
    return index == PatternIndex::none ? std::nullopt : std::optional(static_cast<std::size_t>(index));
}

/// The tree that holds the pattern of an index. An index without a pattern is a fatal assertion.
template <typename Tree>
Tree& treeWith(std::size_t index, Tree* tree, const char* function) {
    if (tree == nullptr || !tree->patterns().contains(index)) {
        const std::size_t count = tree == nullptr ? 0 : tree->patterns().size();
        Impl::vfmassertb("", __FILE__, function, __LINE__, "no pattern has the index {}: there are {} patterns",
                         fmt::make_format_args(index, count));
    }
    return *tree;
}

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
        return static_cast<std::size_t>(tree_->add(pattern));
    }
    auto tree = std::make_unique<PatternTree>();
    const PatternIndex index = tree->add(pattern);
    tree_ = std::move(tree);
    return static_cast<std::size_t>(index);
}

void ObjectPathPatternSet::remove(std::size_t index) noexcept {
    treeWith(index, tree_.get(), "remove").remove(static_cast<PatternIndex>(index));
}

void ObjectPathPatternSet::clear() noexcept {
    tree_ = nullptr;
}

bool ObjectPathPatternSet::contains(std::size_t index) const noexcept {
    return tree_ != nullptr && tree_->patterns().contains(index);
}

std::optional<std::size_t> ObjectPathPatternSet::find(const ObjectPath& pattern) const {
    return tree_ == nullptr ? std::nullopt : numberOf(tree_->find(pattern));
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
    const auto collect = [this, &indexes](const PatternNode& node, const PatternIndex& /*limit*/) {
        indexes.push_back(static_cast<std::size_t>(node.pattern));
        if (node.endsSeveral) {
            const Impl::PatternList& patterns = tree_->patterns();
            for (PatternIndex index = patterns.next(node.pattern); index != PatternIndex::none;
                 index = patterns.next(index)) {
                indexes.push_back(static_cast<std::size_t>(index));
            }
        }
    };
    PatternWalk(*tree_, collect).run(path);
    std::sort(indexes.begin(), indexes.end());
}

bool ObjectPathPatternSet::matchesAny(const ObjectPath& path) const {
    bool found = false;
    if (tree_ != nullptr) {
        const auto stop = [&found](const PatternNode& /*node*/, PatternIndex& limit) {
            found = true;
            limit = PatternIndex{0};
        };
        PatternWalk(*tree_, stop).run(path);
    }
    return found;
}

std::optional<std::size_t> ObjectPathPatternSet::firstMatch(const ObjectPath& path) const {
    PatternIndex first = PatternIndex::none;
    if (tree_ != nullptr) {
        const auto minimize = [&first](const PatternNode& node, PatternIndex& limit) {
            first = limit = std::min(limit, node.pattern);
        };
        PatternWalk(*tree_, minimize).run(path);
    }
    return numberOf(first);
}

std::size_t ObjectPathPatternSet::size() const noexcept {
    return tree_ == nullptr ? 0 : tree_->patterns().size();
}

const ObjectPath& ObjectPathPatternSet::operator[](std::size_t index) const {
    return treeWith(index, tree_.get(), "operator[]").patterns()[static_cast<PatternIndex>(index)];
}

}  // namespace Tavik
