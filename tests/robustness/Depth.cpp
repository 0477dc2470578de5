// Paths of very many levels on a thread with a very small stack.

#include <string>

#include "Tables.h"

namespace Robustness {
namespace {

// A sanitizer needs stack, memory and time for itself, and code that is not optimised needs time. There are still fewer
// than twenty bytes of stack for a level.
#ifdef __OPTIMIZE__
constexpr std::size_t divisor = SANITIZED ? 10 : 1;
#else
constexpr std::size_t divisor = 10;
#endif
constexpr std::size_t stackSize = std::size_t{SANITIZED ? 512 : 64} << 10;

template <typename Function>
void runOnSmallStack(Function function) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackSize), 0);
    const auto run = [](void* argument) -> void* {
        (*static_cast<Function*>(argument))();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &function), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

void expectUsable(std::size_t levels, const absl::btree_map<Tavik::String, Tavik::String>& attributes) {
    ObjectPath path;
    for (std::size_t i = 0; i < levels; ++i) {
        path = path.append("s", attributes);
    }
    ObjectPath copy = path;
    EXPECT_EQ(path.explode().size(), levels);
    EXPECT_TRUE(path.explode().front().segment->parent == nullptr);
    {
        const Tavik::String text = path.toString();
        EXPECT_EQ(text.view().size(), levels * ObjectPath().append("s", attributes).toString().view().size());
        EXPECT_TRUE(Tavik::parseObjectPath(text.view()) == path);
    }
    EXPECT_TRUE(path.matchesPattern(path));
    EXPECT_FALSE(path.matchesPattern(ObjectPath().append("...").append("t")));
    EXPECT_TRUE(path.startsWith(*copy.parent()));
    path = ObjectPath();
    EXPECT_EQ(Tavik::Impl::inspectSegmentTable().size(), levels);
    copy = ObjectPath();
    expectEmptyTables();
}

TEST(Depth, NeedsNoStack) {
    runOnSmallStack([] { expectUsable(1'000'000 / divisor, {}); });
}

TEST(Depth, NeedsNoStackForAttributes) {
    runOnSmallStack([] { expectUsable(300'000 / divisor, {{"k", "v"}, {"l", "w"}}); });
}

}  // namespace
}  // namespace Robustness
