// Nodes of the same content that die together, and threads that build and release the same paths.

#include <array>
#include <thread>

#include "Checks.h"
#include "Tables.h"

namespace {

using namespace Robustness;
using namespace Checks;

/// Releases `deaths` nodes of the same content, each on a thread of its own and before any deleter has the lock.
/// The gate is the mutex of the table. It is recursive here, so that this thread can intern while all others wait.
template <typename Node>
void dieTogether(std::shared_ptr<const Node> ObjectPath::*head, int deaths, bool survives) {
    setMutexKind(PTHREAD_MUTEX_RECURSIVE);
    const auto build = [] { return ObjectPath().append("parent").append("a", {{"k", "v"}, {"l", "w"}}); };
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

}  // namespace
