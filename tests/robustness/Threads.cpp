// Locks that fail, nodes that die together, threads that make and release the same paths, and one with little stack.

#include <array>
#include <thread>

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
