// Paths of very many segments on a thread with little stack.

#include <gtest/gtest.h>
#include <pthread.h>

#include "Tables.h"

namespace {

using namespace Robustness;

const Attributes attributes = {{"k", "v"}, {"l", "w"}};

// Sanitizers need stack and time of their own, and code that is not optimised needs time. There are still fewer than
// twenty bytes of stack for a level.
#if defined(SANITIZED) || !defined(__OPTIMIZE__)
constexpr std::size_t stackSize = 512 << 10, levels = 100'000, levelsWithAttributes = 30'000;
#else
constexpr std::size_t stackSize = 64 << 10, levels = 1'000'000, levelsWithAttributes = 300'000;
#endif

void* useDeepPaths(void*) {
    for (const auto& [count, each] : {std::pair(levels, Attributes()), std::pair(levelsWithAttributes, attributes)}) {
        ObjectPath path;
        for (std::size_t i = 0; i < count; ++i) {
            path = path.append("s", each);
        }
        EXPECT_EQ(path.explode().size(), count);
        EXPECT_TRUE(path.parent() < path);
        EXPECT_TRUE(Tavik::parseObjectPath(path.toString()) == path);
        EXPECT_TRUE(path.matchesPattern(path));
        EXPECT_FALSE(path.matchesPattern(ObjectPath().append("...").append("t")));
    }
    return nullptr;
}

TEST(Depth, UsesConstantStackSpace) {
    pthread_attr_t thread;
    pthread_attr_init(&thread);
    pthread_attr_setstacksize(&thread, stackSize);
    pthread_t id;
    ASSERT_EQ(pthread_create(&id, &thread, useDeepPaths, nullptr), 0);
    pthread_join(id, nullptr);
    EXPECT_EQ(countLeftovers({}), 0U);
}

}  // namespace
