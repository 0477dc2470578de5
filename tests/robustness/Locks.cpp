// A mutex that cannot be locked: here, because this thread holds it already.

#include <system_error>

#include "Tables.h"

namespace Robustness {
namespace {

/// Expects that `operation` passes on what the lock reports.
template <typename Operation>
void expectDeadlockError(Operation operation) {
    try {
        static_cast<void>(operation());
        ADD_FAILURE() << "the lock should have failed";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::resource_deadlock_would_occur);
    }
}

template <typename Node>
void failToLock() {
    const MutexKind kind(PTHREAD_MUTEX_ERRORCHECK);
    ObjectPath path = ObjectPath().append("a", {{"k", "v"}}).append("b");
    const ObjectPath other = ObjectPath().append("x", {{"k", "w"}});
    {
        const std::lock_guard held(Dedup<Node>::mutex_);
        expectDeadlockError([&] { return path.append("c", {{"k", "v"}, {"l", "w"}}); });
        expectDeadlockError([&] { return path.append(other); });
    }
    EXPECT_EQ(countLeftovers({path, other}), 0U);
    EXPECT_EQ(path.toString(), "/a[k=v]/b");

    const auto release = [&] {
        const std::lock_guard held(Dedup<Node>::mutex_);
        path = ObjectPath();
    };
    EXPECT_DEATH(release(), "terminate called");
    const auto parse = [] {
        const std::lock_guard held(Dedup<Node>::mutex_);
        static_cast<void>(Tavik::tryParseObjectPath("/new[k=new]"));
    };
    EXPECT_DEATH(parse(), "terminate called");
}

TEST(Locks, OfSegmentsMayFail) {
    failToLock<Segment>();
    const MutexKind kind(PTHREAD_MUTEX_ERRORCHECK);
    const ObjectPath path = ObjectPath().append("a");
    const std::lock_guard held(Dedup<Segment>::mutex_);
    expectDeadlockError([&] { return path.append("b"); });
    expectDeadlockError([&] { return path.matchesPattern(path); });
}

TEST(Locks, OfValuesMayFail) {
    failToLock<Value>();
}

}  // namespace
}  // namespace Robustness
