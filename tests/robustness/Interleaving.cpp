// A path is released by one thread at each instruction of another one that builds or parses an equal path.

#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "Tables.h"

namespace {

using namespace Robustness;

#ifdef __OPTIMIZE__
constexpr std::size_t stride = 1;
#else
constexpr std::size_t stride = 31;  // There are many more instructions.
#endif

std::weak_ptr<const Segment> found;
std::atomic<int> stage = 0;
volatile std::size_t stepsLeft = 0;

/// Runs after each instruction of this thread until `stepsLeft` is used up. Then the other thread releases the node.
void step(int, siginfo_t*, void* context) {
    constexpr greg_t trapFlag = 0x100;
    greg_t& flags = static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL];
    flags |= trapFlag;
    stepsLeft = stepsLeft - 1;
    if (stepsLeft == 0) {
        const long owners = found.use_count();
        stage = 2;
        stage.notify_one();
        while (found.use_count() == owners) {
            std::this_thread::yield();
        }
        flags &= ~trapFlag;
    }
}

/// Where this thread finds a node.
enum class Place { table, cache, sharedCache, lastParent };

/// Forks while another thread is stopped anywhere in a look-up that needs no lock of a table. The child uses paths.
void expectUsableChild() {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);  // terminates a child that waits for a lock
        meetOthers();
        const ObjectPath path = ObjectPath().append("a");
        _exit(ObjectPath().append("a") == path ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

/// Looks up a node whose last path another thread releases after the given number of instructions. Returns whether the
/// look-up took longer.
bool findWhileReleased(std::size_t steps, Place place) {
    const auto find = [place] {
        return place == Place::lastParent ? Tavik::parseObjectPath("/a/b") : ObjectPath().append("a");
    };
    stage = 0;
    std::jthread owner([place, steps] {
        ObjectPath path = ObjectPath().append("a");
        found = path.segment;
        if (place == Place::sharedCache) {
            meetOthers();
            static_cast<void>(ObjectPath().append("a"));  // enters it
        }
        stage = 1;
        stage.notify_one();
        stage.wait(1);
        if (place == Place::sharedCache && steps % 8 == 1) {
            expectUsableChild();
        }
        path = ObjectPath();
    });
    stage.wait(0);
    bool longer = false;
    std::jthread([&] {
        const ObjectPath other = ObjectPath().append("b");
        for (int i = 0; i < 2; ++i) {
            static_cast<void>(
                ObjectPath().append("b"));  // allocates the cache of this thread, which a fork would wait for
        }
        if (place == Place::sharedCache) {
            meetOthers();
        }
        for (int i = 0; i < 3 && (place == Place::cache || place == Place::lastParent); ++i) {
            static_cast<void>(find());
        }
        stepsLeft = steps;
        raise(SIGTRAP);
        const ObjectPath path = find();
        longer = stepsLeft == 0;
        if (!longer) {
            stepsLeft = 1;
        }
        owner.join();
        EXPECT_TRUE(path.segment != nullptr);
        EXPECT_EQ(countLeftovers({path, other}), 0U);
    });
    return longer;
}

TEST(Interleaving, ReleasesAtEveryInstructionOfALookUp) {
    struct sigaction action = {};
    action.sa_sigaction = step;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGTRAP, &action, nullptr);
    for (const Place place : {Place::table, Place::cache, Place::sharedCache, Place::lastParent}) {
        std::size_t steps = 1;
        while (!HasFailure() && findWhileReleased(steps, place)) {
            steps += stride;
        }
        EXPECT_GT(steps, 100U);
    }
}

}  // namespace
