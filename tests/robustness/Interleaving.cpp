// A path is released by one thread at each instruction of another one that builds an equal path.

#include <ucontext.h>

#include <atomic>
#include <csignal>
#include <cstdio>
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
        for (stage = 2; found.use_count() == owners;) {
            std::this_thread::yield();
        }
        flags &= ~trapFlag;
    }
}

/// Looks up a node whose last path another thread releases after the given number of instructions. Returns whether
/// the look-up took longer.
bool findWhileReleased(std::size_t steps) {
    stage = 0;
    std::jthread owner([] {
        ObjectPath path = ObjectPath().append("a");
        found = path.segment;
        for (stage = 1; stage < 2;) {
            std::this_thread::yield();
        }
        path = ObjectPath();
    });
    while (stage < 1) {
        std::this_thread::yield();
    }
    stepsLeft = steps;
    raise(SIGTRAP);
    const ObjectPath path = ObjectPath().append("a");
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
    std::size_t steps = 1;
    while (!HasFailure() && findWhileReleased(steps)) {
        steps += stride;
    }
    EXPECT_GT(steps, 100U);
    std::printf("%zu instructions\n", steps);
}

}  // namespace
