// A path is released by one thread at each instruction of another one that builds or parses an equal path.

#include <ucontext.h>

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
enum class Place { table, cache, lastParent };

/// Looks up a node whose last path another thread releases after the given number of instructions. Returns whether the
/// look-up took longer.
bool findWhileReleased(std::size_t steps, Place place) {
    const auto find = [place] {
        return place == Place::lastParent ? Tavik::parseObjectPath("/a/b") : ObjectPath().append("a");
    };
    stage = 0;
    std::jthread owner([] {
        ObjectPath path = ObjectPath().append("a");
        found = path.segment;
        stage = 1;
        stage.notify_one();
        stage.wait(1);
        path = ObjectPath();
    });
    stage.wait(0);
    for (int i = 0; i < 3 && place != Place::table; ++i) {
        static_cast<void>(find());
    }
    stepsLeft = steps;
    raise(SIGTRAP);
    const ObjectPath path = find();
    const bool longer = stepsLeft == 0;
    if (!longer) {
        stepsLeft = 1;
    }
    owner.join();
    EXPECT_TRUE(path.segment != nullptr);
    EXPECT_EQ(countLeftovers({path}), 0U);
    return longer;
}

TEST(Interleaving, ReleasesAtEveryInstructionOfALookUp) {
    struct sigaction action = {};
    action.sa_sigaction = step;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGTRAP, &action, nullptr);
    for (const Place place : {Place::table, Place::cache, Place::lastParent}) {
        std::size_t steps = 1;
        while (!HasFailure() && findWhileReleased(steps, place)) {
            steps += stride;
        }
        EXPECT_GT(steps, 100U);
    }
}

}  // namespace
