// Sets of patterns against a loop over their patterns.

#include <Tavik/ObjectPath/PatternSet.h>

#include <thread>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;
using Tavik::ObjectPathPatternSet;

void expectAgreement(const ObjectPathPatternSet& set, const ObjectPath& path) {
    std::vector<std::size_t> expected;
    for (std::size_t i = 0; i < set.size(); ++i) {
        if (path.matchesPattern(set[i])) {
            expected.push_back(i);
        }
    }
    std::vector<std::size_t> indexes = {set.size()};
    set.match(path, indexes);
    EXPECT_EQ(indexes, expected) << path;
    EXPECT_EQ(set.matchesAny(path), !expected.empty()) << path;
    EXPECT_EQ(set.firstMatch(path), expected.empty() ? std::nullopt : std::optional(expected.front())) << path;
}

class PatternSet : public PathTest {
protected:
    ObjectPath pathOf(const char* alphabet, std::size_t longest) {
        const Model::Path segments = std::get<Model::Path>(Model::parse(alphabet));
        Model::Path model(random.below(longest + 1));
        for (Model::Segment& segment : model) {
            segment = segments[random.below(segments.size())];
        }
        return Model::build(model);
    }

    /// A path as of a file, or a pattern for such paths.
    ObjectPath fileOf(bool isPattern) {
        const std::string user = isPattern && random.oneIn(2) ? "*" : std::to_string(random.below(20));
        const ObjectPath leaf =
            ObjectPath().append(random.oneIn(4) ? "a file with a long name" : std::to_string(random.below(100)),
                                {{"mode", std::to_string(random.below(8))}, {"user", user}});
        const ObjectPath folder = pathOf("/usr/share/lib/x86_64-linux-gnu/doc/python3", isPattern ? 3 : 6);
        return isPattern ? folder.append(pathOf("/.../*", 2)).append(random.oneIn(2) ? leaf : pathOf("/doc/lib", 2))
                         : folder.append(leaf);
    }
};

TEST_F(PatternSet, AgreesWithALoop) {
    for (int round = 0; round < 300; ++round) {
        ObjectPathPatternSet set;
        ObjectPathPatternSet former;
        for (std::size_t count = random.below(40); count > 0; --count) {
            const std::size_t size = set.size();
            former = set;
            EXPECT_EQ(set.add(pathOf("/a/a/b/*/.../.../a[k=1]/*[k=1]/...[k=*]/a[*=*][j=1][k=2]/a[j=*][k=*]", 6)), size);
            EXPECT_TRUE(former.size() == size && former.empty() == (size == 0));
            expectAgreement(set, pathOf("/a/a/b/*/...[k=2]/a[k=1]/*[k=1][l=2]/a[*=2][j=1][k=2]/a[j=1][k=*]", 14));
        }
        const ObjectPath path = pathOf("/a/a/b/*[k=1]", 5);
        if (!set.empty()) {
            set.add(set[0]);
        }
        expectAgreement(set, path);
        const std::vector<std::size_t> indexes = set.match(path);
        former = std::move(set);
        EXPECT_TRUE(set.empty() && !set.matchesAny(path) && !set.firstMatch(path) && set.match(path).empty());
        set = std::as_const(former);
        former = {};
        EXPECT_EQ(ObjectPathPatternSet(std::move(set)).match(path), indexes);
    }
}

TEST_F(PatternSet, IsSharedByThreads) {
    ObjectPathPatternSet set;
    std::vector<ObjectPath> paths(200);
    for (std::size_t i = 0; i < 2'000; ++i) {
        set.add(fileOf(true));
        paths[i % paths.size()] = fileOf(false);
    }
    std::vector<std::jthread> threads(3);
    for (std::jthread& thread : threads) {
        thread = std::jthread([&] {
            for (const ObjectPath& path : paths) {
                expectAgreement(set, path);
            }
        });
    }
}

TEST_F(PatternSet, TakesPolynomialTime) {
    ObjectPathPatternSet set;
    const ObjectPath step = Tavik::parseObjectPath("/.../a");
    ObjectPath pattern;
    ObjectPath path;
    for (int i = 0; i < 100; ++i) {
        pattern = pattern.append(step);
        path = path.append("a").append("a");
        set.add(pattern.append("b"));
    }
    EXPECT_FALSE(set.matchesAny(path));
    EXPECT_EQ(set.match(path.append("b")).size(), set.size());
    EXPECT_DEATH(static_cast<void>(set[100]), "operator.*: pattern index out of range: there are 100 patterns");
}

}  // namespace
