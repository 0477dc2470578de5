// Locks that are not needed or fail, and threads that are announced before the first node.

#include <unistd.h>

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

/// Threads that meet others at a lock enter the nodes that they find, and find those that other threads entered.
TEST(Locks, AreNotNeededToFindWhatThreadsThatMetFound) {
    const ObjectPath entered = ObjectPath().append("a");
    const ObjectPath other = ObjectPath().append("b");
    const auto find = [&](const char* name, bool meets) {
        std::jthread([=] {
            if (meets) {
                meetOthers();
            }
            static_cast<void>(ObjectPath().append(name));
        });
    };
    find("a", true);
    find("b", false);
    std::jthread([&] {
        meetOthers();
        const std::scoped_lock both(Dedup<Segment>::mutex_, Dedup<Value>::mutex_);
        EXPECT_EQ(ObjectPath().append("a"), entered);
        EXPECT_THROW(static_cast<void>(ObjectPath().append("b")), std::system_error);
    });
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

}  // namespace
