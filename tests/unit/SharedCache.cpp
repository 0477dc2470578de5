// The node cache that all threads share, as an object of its own.

#include <Tavik/ObjectPath/Nodes/SharedCache.h>

#include <thread>

#include <Tavik/ObjectPath/Nodes/Content.h>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;
using Tavik::Impl::Segment;

class SharedCache : public PathTest {
protected:
    static std::size_t hashOf(const ObjectPath& path) { return absl::HashOf(*path.segment); }

    /// Enters the first `count` paths.
    void enter(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            cache.enter(paths[i].segment, hashOf(paths[i]), count);
        }
    }

    auto find(const ObjectPath& path, std::size_t hash) {
        const Tavik::Impl::TextRef name = path.segment->name;
        const auto parent = Tavik::Impl::LinkRef<Segment>::copying(path.segment->parent);
        return cache.find(Tavik::Impl::SegmentContent{name, {}, parent}, hash);
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
    /// Leaves the cache empty: a sanitizer would take what it still keeps for a leak.
    void TearDown() override {
        cache.enter(paths[0].segment, hashOf(paths[0]), 1'000'000);  // so that shrinking visits every bucket
        std::vector<std::size_t> hashes;
        for (const ObjectPath& path : paths) {
            hashes.push_back(hashOf(path));
        }
        paths.clear();
        cache.wishFor(0);
        for (const std::size_t hash : hashes) {
            cache.forget(hash);
        }
        PathTest::TearDown();
    }

    std::vector<ObjectPath> paths;
    Tavik::Impl::SharedCache<Segment> cache;
};

TEST_F(SharedCache, FollowsTheTable) {
    EXPECT_FALSE(cache.isInUse());
    EXPECT_EQ(countFound(), 0U);
    enter(10'000);
    EXPECT_GT(countFound(), 9'000U);
    cache.enter(paths.back().segment, hashOf(paths.back()), 20'000);
    EXPECT_GT(countFound(), 8'000U) << "growing keeps references";
    enter(20'000);
    EXPECT_GT(countFound(), 18'000U);
    cache.wishFor(0);
    cache.forget(hashOf(paths[0]));
    EXPECT_LT(countFound(), 200U) << "64 buckets remain";
    enter(20'000);
    EXPECT_GT(countFound(), 18'000U) << "pages that were given back are used again";
}

/// Threads that find and enter while others resize get what they asked for, or nothing.
TEST_F(SharedCache, IsResizedWhileItIsUsed) {
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

}  // namespace
