// A child may use paths whatever the threads of its parent do.

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "Checks.h"
#include "Tables.h"

namespace {

using namespace Robustness;
using namespace Checks;

bool tablesAreLocked = false;

/// The last handler before a fork, because it is registered before the libraries register theirs.
[[gnu::used, gnu::section(".preinit_array")]] void (*const registerHandler)() = [] {
    const auto inspect = [] {
        tablesAreLocked = pthread_mutex_trylock(Dedup<Segment>::mutex_.native_handle()) == EBUSY &&
                          pthread_mutex_trylock(Dedup<Value>::mutex_.native_handle()) == EBUSY;
    };
    pthread_atfork(inspect, nullptr, nullptr);
};

TEST(Fork, HappensUnderBothLocks) {
    if (const pid_t child = fork()) {
        waitpid(child, nullptr, 0);
    } else {
        _exit(0);
    }
    EXPECT_TRUE(tablesAreLocked);
}

TEST(Fork, IsSafeWhileOtherThreadsBuild) {
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
            static_cast<void>(Tavik::Impl::StringCommon<char>::dedup(text));
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

}  // namespace
