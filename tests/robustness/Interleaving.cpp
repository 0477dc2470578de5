// What one thread does at each instruction of another one: releases a path while an equal one is built or parsed, and
// resizes the buckets of found nodes while they are used.

#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

#include <Tavik/ObjectPath/Nodes/Content.h>
#include <Tavik/ObjectPath/Nodes/FoundNodes.h>

#include "Model.h"
#include "Tables.h"

namespace {

using namespace Robustness;

#ifdef __OPTIMIZE__
constexpr std::size_t stride = 5;
constexpr std::size_t strideOfBuckets = 1;
#else
constexpr std::size_t stride = 31;  // There are many more instructions.
constexpr std::size_t strideOfBuckets = 17;
#endif

std::weak_ptr<const Segment> found;
std::atomic<int> stage = 0;
volatile std::size_t stepsLeft = 0;
volatile bool waitsForOther = false;

/// Runs after each instruction of this thread until `stepsLeft` is used up. Then the other thread goes on: until it is
/// done, or until it has released the node.
void step(int, siginfo_t*, void* context) {
    constexpr greg_t trapFlag = 0x100;
    greg_t& flags = static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL];
    flags |= trapFlag;
    stepsLeft = stepsLeft - 1;
    if (stepsLeft == 0) {
        const long owners = found.use_count();
        stage = 2;
        stage.notify_one();
        while (waitsForOther ? stage != 3 : found.use_count() == owners) {
            std::this_thread::yield();
        }
        flags &= ~trapFlag;
    }
}

/// Lets `step` run after each instruction of what follows. Returns whether that took more than the given number.
bool runSteps(std::size_t steps, const auto& run) {
    stepsLeft = steps;
    raise(SIGTRAP);
    run();
    const bool isLonger = stepsLeft == 0;
    if (!isLonger) {
        stepsLeft = 1;
    }
    return isLonger;
}

/// Where this thread finds a node.
enum class Place { table, recentNodes, foundNodes, lastParent };

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
        if (place == Place::foundNodes) {
            meetOthers();
            static_cast<void>(ObjectPath().append("a"));  // enters it
        }
        stage = 1;
        stage.notify_one();
        stage.wait(1);
        if (place == Place::foundNodes && steps % 8 == 1) {
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
        if (place == Place::foundNodes) {
            meetOthers();
        }
        for (int i = 0; i < 3 && (place == Place::recentNodes || place == Place::lastParent); ++i) {
            static_cast<void>(find());
        }
        ObjectPath path;
        longer = runSteps(steps, [&] { path = find(); });
        owner.join();
        EXPECT_TRUE(path.segment != nullptr);
        EXPECT_EQ(countLeftovers({path, other}), 0U);
    });
    return longer;
}

class Interleaving : public testing::Test {
protected:
    void SetUp() override {
        struct sigaction action = {};
        action.sa_sigaction = step;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGTRAP, &action, nullptr);
    }
};

/// Which instructions that are depends on the seed.
TEST_F(Interleaving, ReleasesAtInstructionsOfALookUp) {
    waitsForOther = false;
    for (const Place place : {Place::table, Place::recentNodes, Place::foundNodes, Place::lastParent}) {
        std::size_t steps = 1 + Model::seed() % stride;
        while (!HasFailure() && findWhileReleased(steps, place)) {
            steps += stride;
        }
        EXPECT_GT(steps, 100U);
    }
}

TEST_F(Interleaving, ResizesAtEveryInstruction) {
    waitsForOther = true;
    static constexpr std::size_t many = 1'000;
    static Tavik::Impl::FoundNodes<Segment> nodes;
    const auto path = ObjectPath().append("a");
    const Tavik::Impl::TextRef name(path.segment->name);
    const Tavik::Impl::SegmentContent content{name, {}, Tavik::Impl::LinkRef<Segment>::copying(path.segment->parent)};
    const auto other = ObjectPath().append("b");
    constexpr std::size_t hash = 0xffULL << 32;  // in a bucket that is used only for many nodes
    constexpr std::size_t otherHash = 0x1'00ffULL << 32;
    for (const char operation : {'f', 'e', 'd'}) {
        bool isLonger = true;
        std::size_t steps = 0;
        while (isLonger && !HasFailure()) {
            steps += strideOfBuckets;
            nodes.enter(path.segment, hash, many);
            ObjectPath released = ObjectPath().append("c");
            nodes.enter(released.segment, hash + (1ULL << 50), many);
            stage = 1;
            std::jthread thread([&] {
                stage.wait(1);
                nodes.forget(hash);
                nodes.enter(path.segment, 0, 1);  // shrinks
                nodes.enter(other.segment, otherHash, many);
                nodes.forget(hash + (1ULL << 50));
                if (steps % 64 == 1) {
                    expectUsableChild();
                }
                stage = 3;
            });
            released = ObjectPath();
            std::shared_ptr<const Segment> node;
            isLonger = runSteps(steps, [&] {
                switch (operation) {
                    case 'f':
                        node = nodes.find(content, hash);
                        break;
                    case 'e':
                        nodes.enter(path.segment, hash, many);
                        break;
                    default:
                        nodes.forget(hash + (1ULL << 50));
                }
            });
            thread.join();
            EXPECT_TRUE(node == nullptr || node == path.segment);
            nodes.enter(path.segment, hash, many);
            EXPECT_EQ(nodes.find(content, hash), path.segment) << "a bucket that stays locked";
        }
        EXPECT_GT(steps, 50U);
    }
}

}  // namespace
