// Locks that fail or are not needed, nodes that die together, threads that build and release the same paths, and one
// with little stack.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <thread>

#include <Tavik/Core/ThreadControl.h>

#include "Checks.h"
#include "Tables.h"

namespace {

using namespace Robustness;
using namespace Checks;

const Attributes attributes = {{"k", "v"}, {"l", "w"}};

TEST(Locks, AreNotNeededToFindRecentNodes) {
    setMutexKind(PTHREAD_MUTEX_ERRORCHECK);
    const char* const text = "a string that is too long to be held inline";
    const Attributes strings = {{"k", text}, {text, "v"}};
    const ObjectPath path = ObjectPath().append(text, strings);
    EXPECT_EQ(ObjectPath().append(text, strings), path);
    const std::scoped_lock both(Dedup<Segment>::mutex_, Dedup<Value>::mutex_);
    EXPECT_EQ(ObjectPath().append(text, strings), path);
}

TEST(Locks, AreNotNeededToRead) {
    setMutexKind(PTHREAD_MUTEX_ERRORCHECK);
    Model::Generator random(Model::seed());
    for (int round = 0; round < 500; ++round) {
        const Sample first = sampleOf(random.path(4));
        const Sample second = join(random.oneIn(2) ? first : Sample(), sampleOf(random.path(3)));
        const std::vector<ObjectPath> prefixes = buildPrefixes(second.model);
        const std::scoped_lock both(Dedup<Segment>::mutex_, Dedup<Value>::mutex_);
        checkReading(second, prefixes);
        check(first, second);
        check(second, first);
    }
}

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

/// Expects that `use`, as the first one in a new process, announces threads to the core library or not.
#define EXPECT_ANNOUNCED(announced, use)                                      \
    EXPECT_EXIT(                                                              \
        {                                                                     \
            const bool before = Tavik::ThreadControl::threadSafePointerIs();  \
            static_cast<void>(use);                                           \
            _exit(before ? -1 : Tavik::ThreadControl::threadSafePointerIs()); \
        },                                                                    \
        testing::ExitedWithCode(announced), "")

TEST(ThreadsDeathTest, AreAnnouncedWithTheFirstSegment) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // starts a new process
    const auto intern = [] { return ObjectPath{Dedup<Segment>::intern({"a", {}, nullptr}), nullptr}; };
    EXPECT_ANNOUNCED(true, ObjectPath().append("a"));
    EXPECT_ANNOUNCED(true, ObjectPath().append("a", attributes));
    EXPECT_ANNOUNCED(true, ObjectPath().append(intern()));
    EXPECT_ANNOUNCED(true, parse("a//"));
    EXPECT_ANNOUNCED(false, ObjectPath().append(ObjectPath()));
    EXPECT_ANNOUNCED(false, intern().append(ObjectPath()));
    for (const char* const text : {"", "/", "//a", "[", "a[k=v"}) {
        EXPECT_ANNOUNCED(false, parse(text)) << text;
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

/// Releases a chain while another thread is stopped while it releases its own.
TEST(Threads, ReleaseTheirOwnChains) {
    setMutexKind(PTHREAD_MUTEX_RECURSIVE);
    for (bool stopped = false; !stopped;) {
        ObjectPath path = Tavik::parseObjectPath("/a/b");
        ObjectPath deep = ObjectPath().append("s");
        const std::weak_ptr<const Segment> first = path.segment->parent;
        const std::weak_ptr<const Segment> firstOfDeep = deep.segment;
        for (int i = 0; i < 10'000; ++i) {
            deep = deep.append("s");
        }
        const std::weak_ptr<const Segment> parentOfDeep = deep.segment->parent;
        std::jthread thread([owned = std::move(deep)]() mutable { owned = ObjectPath(); });
        while (!parentOfDeep.expired()) {
            std::this_thread::yield();
        }
        const std::lock_guard gate(Dedup<Segment>::mutex_);
        stopped = !firstOfDeep.expired();
        path = ObjectPath();
        EXPECT_TRUE(first.expired()) << "left to the other thread";
    }
    EXPECT_EQ(countLeftovers({}), 0U);
}

TEST(Threads, MayForkWhileOthersBuild) {
    setMutexKind(PTHREAD_MUTEX_DEFAULT);
    static constexpr const char* text = "a string that is too long to be held inline";
    const auto build = [](const std::stop_token& stop = {}) {
        do {
            const ObjectPath path = ObjectPath().append("a", {{"k", "v"}}).append(text, {{text, text}});
            requireEqual(Tavik::parseObjectPath(path.toString()), path, "path read back");
        } while (stop.stop_possible() && !stop.stop_requested());
    };
    const auto inspect = [](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            static_cast<void>(StringCommon<char>::dedup(text));
            const std::lock_guard values(Dedup<Value>::mutex_);
            const std::lock_guard segments(Dedup<Segment>::mutex_);
        }
    };
    const std::jthread others[] = {std::jthread(build), std::jthread(build), std::jthread(inspect),
                                   std::jthread(inspect)};
    for (int i = 0; i < 50 && !HasFailure(); ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);  // terminates a child that waits for a lock
            build();
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

/// Few words, so that the threads often use the same path.
struct FewWords : Model::Generator {
    using Generator::Generator;
    std::string text() { return oneIn(2) ? "a" : "a string that is too long to be held inline"; }
};

TEST(Threads, AgreeOnEqualContent) {
    std::mutex mutex;
    std::array<Sample, 4> samples;
    const auto storm = [&](FewWords words) {
        for (int round = 0; round < 6000; ++round) {
            std::unique_lock lock(mutex);
            const Sample left = samples[words.below(samples.size())];
            const Sample right = samples[words.below(samples.size())];
            lock.unlock();
            Sample result = operate(words, left, right);
            lock.lock();
            for (const Sample& sample : samples) {
                check(sample, result);
            }
            std::swap(samples[words.below(samples.size())], result);
            lock.unlock();
        }
    };
    std::vector<std::jthread> threads;
    for (std::uint64_t i = 0; i < 4; ++i) {
        threads.emplace_back(storm, FewWords(Model::seed() + i));
    }
    threads.clear();
    samples = {};
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
        EXPECT_TRUE(path.explode().size() == count && path.parent() < path);
        EXPECT_TRUE(Tavik::parseObjectPath(path.toString()) == path);
        EXPECT_TRUE(path.matchesPattern(path) && !path.matchesPattern(ObjectPath().append("...").append("t")));
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
