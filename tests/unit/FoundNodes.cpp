// The nodes that all threads find, as an object of its own.

#include <Tavik/ObjectPath/Nodes/FoundNodes.h>

#include <cstring>
#include <thread>

#include <Tavik/ObjectPath/Nodes/Content.h>
#include <Tavik/ObjectPath/Nodes/Trial.h>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;
using Tavik::Impl::Segment;

class FoundNodes : public PathTest {
protected:
    static std::size_t hashOf(const ObjectPath& path) { return absl::HashOf(*path.segment); }

    /// Enters the first `count` paths.
    void enter(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            nodes.enter(paths[i].segment, hashOf(paths[i]), count);
        }
    }

    auto find(const ObjectPath& path, std::size_t hash) {
        const Tavik::Impl::TextRef name = path.segment->name;
        const auto parent = Tavik::Impl::LinkRef<Segment>::copying(path.segment->parent);
        return nodes.find(Tavik::Impl::SegmentContent{name, {}, parent}, hash);
    }

    /// The number of paths that are found. None may be found for another one.
    std::size_t countFound() {
        std::size_t count = 0;
        for (const ObjectPath& path : paths) {
            const auto found = find(path, hashOf(path));
            EXPECT_TRUE(found == nullptr || found == path.segment) << path;
            EXPECT_TRUE(&path == &paths.front() || find(paths.front(), hashOf(path)) == nullptr) << "by hash alone";
            count += found != nullptr ? 1 : 0;
        }
        return count;
    }

    void SetUp() override {
        for (std::size_t i = 0; i < 20'000; ++i) {
            paths.push_back(ObjectPath().append(std::to_string(i)));
        }
    }
    /// What is still kept then must not look like a leak.
    void TearDown() override {
        paths.clear();
        PathTest::TearDown();
    }

    std::vector<ObjectPath> paths;
    Tavik::Impl::FoundNodes<Segment> nodes;
};

/// The first and the last bucket of the largest number are next to other memory.
TEST_F(FoundNodes, AreFoundInEachOfTheMostBuckets) {
    const auto hashInBucket = [](std::size_t bucket) { return bucket << 32 | (bucket & 0xff) << 24; };
    const std::array<std::size_t, 4> buckets = {0x0'0000, 0x0'0001, 0xf'fffe, 0xf'ffff};
    for (int round = 0; round < 2; ++round) {
        for (const std::size_t bucket : buckets) {
            nodes.enter(paths[bucket & 7].segment, hashInBucket(bucket), 1U << 23);
        }
    }
    for (const std::size_t bucket : buckets) {
        EXPECT_EQ(find(paths[bucket & 7], hashInBucket(bucket)), paths[bucket & 7].segment);
    }
}

TEST_F(FoundNodes, FollowsTheTable) {
    EXPECT_FALSE(nodes.isInUse());
    EXPECT_EQ(countFound(), 0U);
    enter(10'000);
    EXPECT_GT(countFound(), 9'500U);
    nodes.enter(paths.back().segment, hashOf(paths.back()), 20'000);
    EXPECT_GT(countFound(), 8'000U) << "growing keeps references";
    enter(20'000);
    EXPECT_GT(countFound(), 19'000U);
    nodes.shrinkLater(0);
    nodes.forget(hashOf(paths[0]));
    EXPECT_LT(countFound(), 200U) << "64 buckets remain";
    enter(20'000);
    EXPECT_GT(countFound(), 18'000U) << "pages that were given back are used again";
}

/// Threads that find and enter while others resize get what they asked for, or nothing.
TEST_F(FoundNodes, IsResizedWhileItIsUsed) {
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < 3; ++thread) {
        threads.emplace_back([this, thread] {
            for (std::size_t round = 0; round < 6; ++round) {
                enter(thread == 0 && round % 2 == 0 ? 100 : 5'000);
                countFound();
            }
        });
    }
}

/// Each look-up may find its node there (f), find it in the table (t), create it (c), or meet others and then create it
/// (m). A trial ends when the look-ups of the last one did not pay.
TEST(Trial, LastsWhileItPays) {
    struct Case {
        const char* lookups;  // repeated
        bool lasts;
    };
    for (const Case& each :
         {Case{"f", true}, {"fccc", true}, {"fcccccc", false}, {"mttt", true}, {"t", false}, {"mc", false}}) {
        using Tavik::Impl::Trial;
        std::jthread([&each] {
            const auto [lookups, lasts] = each;
            EXPECT_FALSE(Trial::takesLookup());
            Trial::noteWait();
            EXPECT_TRUE(Trial::isOn());
            int lookupsOnTrial = 0;
            for (std::size_t i = 0; i < 100'000; ++i) {
                lookupsOnTrial += Trial::takesLookup() ? 1 : 0;
                switch (lookups[i % std::strlen(lookups)]) {
                    case 'f':
                        Trial::noteFound();
                        break;
                    case 't':
                        Trial::noteFoundInTable();
                        break;
                    case 'm':
                        Trial::noteWait();
                        break;
                    default:
                        break;
                }
            }
            EXPECT_EQ(lookupsOnTrial > 99'000, lasts) << lookups;
            EXPECT_TRUE(lasts || lookupsOnTrial < 5'000) << lookups << ' ' << lookupsOnTrial;
            Trial::giveUp();
            EXPECT_FALSE(Trial::takesLookup());
        });
    }
}

}  // namespace
