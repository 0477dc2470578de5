// Sets of patterns.

#include <Tavik/ObjectPath/PatternSet.h>

#include <Tavik/ObjectPath/Patterns/PatternTree.h>

namespace Tavik {
namespace {

using Impl::PatternIndex;
using Impl::PatternTree;

/// The tree that holds the pattern of an index. An index without a pattern is a fatal assertion of the calling
/// function.
template <typename Tree>
Tree& treeWith(std::size_t index, Tree* tree, const char* function = __builtin_FUNCTION()) noexcept {
    if (tree == nullptr || !tree->patterns().contains(index)) {
        const std::size_t count = tree == nullptr ? 0 : tree->patterns().size();
        Impl::vfmassertb("", __FILE__, function, __LINE__, "no pattern has the index {}: there are {} patterns",
                         fmt::make_format_args(index, count));
    }
    return *tree;
}

/// Adds a pattern to a tree, which is created if there is none.
std::size_t addTo(std::unique_ptr<PatternTree>& tree,
                  const ObjectPath& pattern,
                  const ObjectPathPatternConfig& config,
                  bool isLast) {
    if (tree != nullptr) {
        return static_cast<std::size_t>(tree->add(pattern, config, isLast));
    }
    auto created = std::make_unique<PatternTree>();
    const PatternIndex index = created->add(pattern, config, isLast);
    tree = std::move(created);
    return static_cast<std::size_t>(index);
}

}  // namespace

ObjectPathPatternSet::ObjectPathPatternSet() noexcept = default;
ObjectPathPatternSet::ObjectPathPatternSet(const ObjectPathPatternSet& other)
    : tree_(other.tree_ == nullptr ? nullptr : other.tree_->copy()) {}
ObjectPathPatternSet::ObjectPathPatternSet(ObjectPathPatternSet&& other) noexcept = default;
ObjectPathPatternSet& ObjectPathPatternSet::operator=(const ObjectPathPatternSet& other) {
    return *this = ObjectPathPatternSet(other);
}
ObjectPathPatternSet& ObjectPathPatternSet::operator=(ObjectPathPatternSet&& other) noexcept = default;
ObjectPathPatternSet::~ObjectPathPatternSet() = default;

std::size_t ObjectPathPatternSet::add(const ObjectPath& pattern) {
    return add(pattern, {});
}

std::size_t ObjectPathPatternSet::add(const ObjectPath& pattern, const ObjectPathPatternConfig& config) {
    return addTo(tree_, pattern, config, false);
}

std::size_t ObjectPathPatternSet::addLast(const ObjectPath& pattern, const ObjectPathPatternConfig& config) {
    return addTo(tree_, pattern, config, true);
}

void ObjectPathPatternSet::remove(std::size_t index) noexcept {
    treeWith(index, tree_.get()).remove(static_cast<PatternIndex>(index));
}

void ObjectPathPatternSet::clear() noexcept {
    tree_ = nullptr;
}

bool ObjectPathPatternSet::contains(std::size_t index) const noexcept {
    return tree_ != nullptr && tree_->patterns().contains(index);
}

std::size_t ObjectPathPatternSet::nextFrom(std::size_t start) const noexcept {
    return tree_ == nullptr ? SIZE_MAX : tree_->patterns().nextFrom(start);
}

std::optional<std::size_t> ObjectPathPatternSet::find(const ObjectPath& pattern) const {
    return find(pattern, {});
}

std::optional<std::size_t> ObjectPathPatternSet::find(const ObjectPath& pattern,
                                                      const ObjectPathPatternConfig& config) const {
    return tree_ == nullptr ? std::nullopt : Impl::numberOf(tree_->find(pattern, config));
}

std::vector<std::size_t> ObjectPathPatternSet::match(const ObjectPath& path) const {
    std::vector<std::size_t> indexes;
    match(path, indexes);
    return indexes;
}

std::size_t ObjectPathPatternSet::size() const noexcept {
    return tree_ == nullptr ? 0 : tree_->patterns().size();
}

const ObjectPath& ObjectPathPatternSet::operator[](std::size_t index) const noexcept {
    return treeWith(index, tree_.get()).patterns()[static_cast<PatternIndex>(index)].path;
}

ObjectPathPatternConfig ObjectPathPatternSet::config(std::size_t index) const noexcept {
    return treeWith(index, tree_.get()).patterns()[static_cast<PatternIndex>(index)].config;
}

}  // namespace Tavik
