// Locks that fail, nodes that die together, threads that make and release the same paths, and one with little stack.

#include <array>
#include <thread>

#include <Tavik/Core/ThreadControl.h>

#include "Slots.h"
#include "Tables.h"

namespace {

using namespace Robustness;

const Attributes attributes = {{"k", "v"}, {"l", "w"}};

TEST(Locks, MayFail) {
    setMutexKind(PTHREAD_MUTEX_ERRORCHECK);
    for (std::mutex* mutex : {&Dedup<Segment>::mutex_, &Dedup<Value>::mutex_}) {
        ObjectPath path = ObjectPath().append("a", attributes).append("b");
        mutex->lock();
        EXPECT_THROW(static_cast<void>(path.append("c", attributes)), std::system_error);
        EXPECT_THROW(static_cast<void>(path.append(path)), std::system_error);
        mutex->unlock();
        // A child may not unlock what checks its owner.
        const auto lock = [=] { setMutexKind(PTHREAD_MUTEX_ERRORCHECK), mutex->lock(); };
        EXPECT_DEATH((lock(), path = ObjectPath()), "terminate called");
        EXPECT_DEATH((lock(), static_cast<void>(Tavik::tryParseObjectPath("/n[k=n]"))), "terminate called");
        EXPECT_EQ(countLeftovers({path}), 0U);
    }
}

struct Use {
    const char* name;
    bool makesSegments;
    ObjectPath (*run)();
};

/// A path whose node was not made by building one.
ObjectPath interned() {
    return {Dedup<Segment>::intern({"a", {}, nullptr}), nullptr};
}

constexpr Use uses[] = {
    {"append", true, [] { return ObjectPath().append("a"); }},
    {"append with attributes", true, [] { return ObjectPath().append("a", attributes); }},
    {"join", true, [] { return ObjectPath().append(interned()); }},
    {"parse", true, [] { return parse("/a/").path; }},
    {"parse one segment and an error", true, [] { return parse("a//").path; }},
    {"join root paths", false, [] { return ObjectPath().append(ObjectPath()); }},
    {"join the root path", false, [] { return interned().append(ObjectPath()); }},
    {"parse nothing", false, [] { return parse("").path; }},
    {"parse the root path", false, [] { return parse("/").path; }},
    {"parse no name", false, [] { return parse("//a").path; }},
    {"parse half an attribute", false, [] { return parse("a[k=v").path; }},
};

TEST(ThreadsDeathTest, AreAnnouncedWithTheFirstSegment) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // Each use is the first one of a new process.
    for (const Use& use : uses) {
        EXPECT_EXIT(
            {
                const bool before = Tavik::ThreadControl::threadSafePointerIs();
                static_cast<void>(use.run());
                std::_Exit(before ? -1 : Tavik::ThreadControl::threadSafePointerIs());
            },
            testing::ExitedWithCode(use.makesSegments), "")
            << use.name;
    }
}

/// Releases `deaths` nodes of the same content, each on a thread of its own and before any deleter has the lock.
/// The gate is the mutex of the table. It is recursive here, so that this thread can intern while all others wait.
template <typename Node>
void dieTogether(std::shared_ptr<const Node> ObjectPath::*head, int deaths, bool survives) {
    setMutexKind(PTHREAD_MUTEX_RECURSIVE);
    const auto build = [] { return ObjectPath().append("parent").append("a", attributes); };
    std::vector<std::jthread> threads;
    std::unique_lock gate(Dedup<Node>::mutex_);
    for (int i = 0; i < deaths; ++i) {
        ObjectPath path = build();
        const std::weak_ptr<const Node> node = path.*head;
        threads.emplace_back([owned = std::move(path)]() mutable { owned = ObjectPath(); });
        while (!node.expired()) {
            std::this_thread::yield();
        }
    }
    std::vector<ObjectPath> survivors;
    if (survives) {
        survivors.push_back(build());
    }
    gate.unlock();
    threads.clear();
    EXPECT_EQ(countLeftovers(survivors), 0U);
}

TEST(Threads, MayReleaseDeadNodesAfterTheirSuccessors) {
    for (const int deaths : {1, 2, 5}) {
        for (const bool survives : {false, true}) {
            dieTogether(&ObjectPath::segment, deaths, survives);
            dieTogether(&ObjectPath::values, deaths, survives);
        }
    }
}

/// The nodes of a path, the first one first.
std::vector<std::weak_ptr<const Segment>> nodesOf(const ObjectPath& path) {
    std::vector<std::weak_ptr<const Segment>> nodes;
    for (const auto& segment : path.explode()) {
        nodes.push_back(segment.segment);
    }
    return nodes;
}

/// Releases a chain while another thread is stopped in the midst of releasing its own.
TEST(Threads, ReleaseTheirOwnChains) {
    setMutexKind(PTHREAD_MUTEX_RECURSIVE);
    for (bool stopped = false; !stopped;) {
        ObjectPath path = Tavik::parseObjectPath("/a/b/c");
        ObjectPath deep;
        for (int i = 0; i < 10'000; ++i) {
            deep = deep.append("s");
        }
        const auto nodes = nodesOf(path);
        const auto deepNodes = nodesOf(deep);
        std::jthread thread([owned = std::move(deep)]() mutable { owned = ObjectPath(); });
        while (!deepNodes[9'998].expired()) {
            std::this_thread::yield();
        }
        const std::lock_guard gate(Dedup<Segment>::mutex_);
        stopped = !deepNodes[0].expired();
        path = ObjectPath();
        EXPECT_TRUE(nodes[0].expired()) << "left to the other thread";
    }
    EXPECT_EQ(countLeftovers({}), 0U);
}

/// Few words, so that the threads often use the same path.
struct FewWords : Model::Generator {
    using Generator::Generator;
    std::string text() { return oneIn(2) ? "a" : "a text that is too long to be held inline"; }
};

TEST(Threads, AgreeOnEqualContent) {
    std::mutex mutex;
    std::array<Slot, 4> slots;
    const auto storm = [&](FewWords words) {
        for (int round = 0; round < 6000; ++round) {
            std::unique_lock lock(mutex);
            const Slot left = slots[words.below(slots.size())];
            const Slot right = slots[words.below(slots.size())];
            lock.unlock();
            Slot result = operate(words, left, right);
            lock.lock();
            for (const Slot& slot : slots) {
                check(slot, result);
            }
            std::swap(slots[words.below(slots.size())], result);
            lock.unlock();
        }
    };
    std::vector<std::jthread> threads;
    for (std::uint64_t i = 0; i < 4; ++i) {
        threads.emplace_back(storm, FewWords(Model::seed() + i));
    }
    threads.clear();
    slots = {};
    requireEmptyTables();
}

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
        EXPECT_TRUE(Tavik::parseObjectPath(path.toString().view()) == path);
        EXPECT_TRUE(path.matchesPattern(path) && !path.matchesPattern(ObjectPath().append("...").append("t")));
    }
    return nullptr;
}

TEST(Depth, NeedsNoStack) {
    pthread_attr_t thread;
    pthread_attr_init(&thread);
    pthread_attr_setstacksize(&thread, stackSize);
    pthread_t id;
    ASSERT_EQ(pthread_create(&id, &thread, useDeepPaths, nullptr), 0);
    pthread_join(id, nullptr);
    EXPECT_EQ(countLeftovers({}), 0U);
}

}  // namespace
