// Nodes that die on one thread while another makes them anew.

#include <thread>

#include "Tables.h"

namespace Robustness {
namespace {

template <typename Node>
std::shared_ptr<const Node> nodeOf(const ObjectPath& path) {
    if constexpr (std::is_same_v<Node, Segment>) {
        return path.segment;
    } else {
        return path.values;
    }
}

/// Lets `deaths` nodes of the same content die, each on a thread of its own and before any deleter has got the lock.
/// The gate is the mutex of the table. It is recursive here, so that this thread can intern while all others wait.
template <typename Node>
void dieTogether(int deaths, bool survives) {
    const MutexKind kind(PTHREAD_MUTEX_RECURSIVE);
    const auto build = [] { return ObjectPath().append("parent").append("a", {{"k", "v"}}); };
    std::vector<std::thread> threads;
    std::vector<ObjectPath> survivors;
    {
        const std::lock_guard gate(Dedup<Node>::mutex_);
        for (int i = 0; i < deaths; ++i) {
            ObjectPath path = build();
            const std::weak_ptr<const Node> node = nodeOf<Node>(path);
            threads.emplace_back([owned = std::move(path)]() mutable { owned = ObjectPath(); });
            while (!node.expired()) {
                std::this_thread::yield();
            }
        }
        if (survives) {
            survivors.push_back(build());
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(countLeftovers(survivors), 0U);
    EXPECT_TRUE(!survives || build() == survivors.front());
}

TEST(Threads, MayReleaseDeadNodesAfterTheirSuccessors) {
    for (const int deaths : {1, 2, 5}) {
        for (const bool survives : {false, true}) {
            dieTogether<Segment>(deaths, survives);
            dieTogether<Value>(deaths, survives);
            expectEmptyTables();
        }
    }
}

}  // namespace
}  // namespace Robustness
