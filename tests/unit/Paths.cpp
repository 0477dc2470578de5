// Paths against the model, alone and in pairs.

#include <ranges>
#include <set>

#include "Checks.h"
#include "PathTest.h"

namespace {

using Checks::Sample;
using Tavik::ObjectPath;

using Paths = PathTest;

template <typename Range>
concept BorrowedView =
    std::ranges::forward_range<Range> && std::ranges::view<Range> && std::ranges::borrowed_range<Range>;
static_assert(BorrowedView<Tavik::ObjectPathAttributeRange>);
// So `std::ranges::equal_range` takes a subtree. It is not called, because it needs clang 16 or later.
static_assert(std::indirect_strict_weak_order<std::less<>, const Tavik::ObjectPathSubtree*, const ObjectPath*>);

TEST_F(Paths, AreWhatTheirModelSays) {
    for (int round = 0; round < 500; ++round) {
        Model::Path model = random.path(round % 20 == 0 ? 25 : 4);
        Checks::check({model, Model::build(model)});
        EXPECT_EQ(Tavik::parseObjectPath(Model::write(model)), Model::build(model));
        for (Model::Segment& segment : model) {
            if (random.oneIn(2)) {
                segment.name.clear();
            }
        }
        Checks::check({model, Model::build(model)});
    }
    using Iterator = Tavik::ObjectPathAttributeRange::iterator;
    EXPECT_TRUE(Iterator() == Iterator());
}

TEST_F(Paths, CompareAndJoinLikeTheirModels) {
    const std::vector<Sample> samples = Checks::related(random);
    for (const Sample& left : samples) {
        for (const Sample& right : samples) {
            Checks::check(left, right);
            const Sample joined = join(left, right);
            Checks::check(joined);
            Checks::checkReplacing(joined, left, right);
            Checks::checkReplacing(left, right, joined);
        }
    }
}

TEST_F(Paths, HaveTheirSubtreesInOrderedContainers) {
    const std::vector<Sample> samples = Checks::related(random);
    std::set<ObjectPath, std::less<>> set;
    absl::btree_map<ObjectPath, int, std::less<>> map;
    for (const Sample& sample : std::span(samples).subspan(samples.size() / 2)) {
        set.insert(sample.path);
        map.emplace(sample.path, 0);
    }
    const std::vector<ObjectPath> sorted(set.begin(), set.end());
    for (const Sample& top : samples) {  // half of which are in no container
        const Tavik::ObjectPathSubtree subtree{top.path};
        std::vector<ObjectPath> expected;
        std::ranges::copy_if(sorted, std::back_inserter(expected),
                             [&](const ObjectPath& path) { return path.startsWith(top.path); });
        const auto [first, last] = set.equal_range(subtree);
        EXPECT_EQ(std::vector(first, last), expected);
        const auto [low, high] = std::equal_range(sorted.begin(), sorted.end(), subtree);
        EXPECT_EQ(std::vector(low, high), expected);
        std::vector<ObjectPath> keys;
        for (auto [entry, end] = map.equal_range(subtree); entry != end; ++entry) {
            keys.push_back(entry->first);
        }
        EXPECT_EQ(keys, expected);
    }
}

}  // namespace
