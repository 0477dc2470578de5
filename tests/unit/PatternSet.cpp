// Sets of patterns against a list of them.

#include <Tavik/ObjectPath/PatternSet.h>

#include <thread>

#include "PathTest.h"
#include "SetChecks.h"

namespace {

using Tavik::ObjectPath;
using Tavik::ObjectPathPatternSet;

class PatternSet : public PathTest {
protected:
    /// A path as of a file, or a pattern for such paths.
    ObjectPath fileOf(bool isPattern) {
        const char* const alphabet = isPattern
                                         ? "/usr/lib/doc/.../*/a file with a long name[user=*]/f[mode=1]"
                                         : "/usr/lib/doc/a file with a long name[mode=2][user=1]/f[mode=1][user=2]";
        return Checks::pathOf(random, std::get<Model::Path>(Model::parse(alphabet)), isPattern ? 4 : 7);
    }
};

TEST_F(PatternSet, AgreesWithAListWhateverChanges) {
    for (int life = 0; life < 10; ++life) {
        Checks::ListedSet set;
        for (int step = 0; step < 1'000; ++step) {
            set.change(random, step / 250 % 2 == 0);
        }
    }
}

TEST_F(PatternSet, AgreesOnAllSubsetsOfAttributes) {
    Checks::ListedSet set;
    std::vector<ObjectPath> paths;
    for (unsigned subset = 0; subset < 256; ++subset) {
        Model::Segment segment{"a", {}};
        for (unsigned i = 0; i < 8; ++i) {
            if ((subset >> i & 1) != 0) {
                segment.attributes.emplace(std::string(1, static_cast<char>('j' + i)), "1");
            }
        }
        paths.push_back(Model::append({}, segment));
        set.add(paths.back());
        for (auto& attribute : segment.attributes) {
            attribute.second.assign(1, '*');
        }
        set.add(Model::append({}, segment));
    }
    for (const ObjectPath& path : paths) {
        set.check(path);
    }
}

TEST_F(PatternSet, IsSharedByThreads) {
    Checks::ListedSet set;
    std::vector<ObjectPath> paths(200);
    for (std::size_t i = 0; i < 2'000; ++i) {
        set.add(fileOf(true));
        paths[i % paths.size()] = fileOf(false);
    }
    std::vector<std::jthread> threads(3);
    for (std::jthread& thread : threads) {
        thread = std::jthread([&] {
            for (const ObjectPath& path : paths) {
                set.check(path);
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
}

TEST_F(PatternSet, ReleasesWhatItRemoves) {
    ObjectPathPatternSet set;
    set.add(Tavik::parseObjectPath("/a[k=1]"));
    set.add(Tavik::parseObjectPath("/a[k=1]/b"));
    expectEntries(2, 1);
    set.remove(1);
    expectEntries(1, 1);
    set.clear();
    expectEntries(0, 0);
}

TEST_F(PatternSet, RequiresAPattern) {
    ObjectPathPatternSet set;
    EXPECT_DEATH(set.remove(0), "remove.*: no pattern has the index 0: there are 0 patterns");
    set.add(ObjectPath());
    EXPECT_DEATH(set.remove(1), "remove.*: no pattern has the index 1: there are 1 patterns");
    EXPECT_DEATH(static_cast<void>(set[1]), "operator.*: no pattern has the index 1: there are 1 patterns");
    EXPECT_DEATH(static_cast<void>(set.config(1)), "config.*: no pattern has the index 1: there are 1 patterns");
    EXPECT_DEATH(static_cast<void>((*ObjectPath().capture({}))[0]), "operator.*: capture index out of range");
}

}  // namespace
