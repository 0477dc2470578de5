// Nodes that die on one thread while another makes them anew.

#include <array>
#include <thread>

#include "Slots.h"
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

/// Few words, so that the threads often have the same path in hand.
struct FewWords {
    std::size_t below(std::size_t bound) { return random.below(bound); }
    std::string text() { return random.below(2) == 0 ? "a" : "a text that is too long to be held inline"; }

    Model::Generator random;
};

/// Slots that threads share.
class Slots {
public:
    /// Takes two slots, operates on them and puts the result into a slot.
    void operateOnce(FewWords& words) {
        const Slot left = get(words.below(slots_.size()));
        const Slot right = get(words.below(slots_.size()));
        check(left, right);
        put(words.below(slots_.size()), operate(words, left, right));
    }

private:
    Slot get(std::size_t index) {
        const std::lock_guard lock(mutex_);
        return slots_[index];
    }

    void put(std::size_t index, Slot slot) {
        const std::lock_guard lock(mutex_);
        for (const Slot& other : slots_) {
            require((slot.path == other.path) == (slot.model == other.model), "equal content is one path");
        }
        // The former content goes when the lock is free.
        std::swap(slots_[index], slot);
    }

    std::mutex mutex_;
    std::array<Slot, 4> slots_;
};

TEST(Threads, AgreeOnEqualContent) {
    constexpr int rounds = 6000;
    {
        Slots slots;
        std::vector<std::thread> threads;
        for (std::uint64_t i = 0; i < 4; ++i) {
            threads.emplace_back([&slots, i] {
                FewWords words{Model::Generator(Model::seed() + i)};
                for (int round = 0; round < rounds; ++round) {
                    slots.operateOnce(words);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    expectEmptyTables();
}

}  // namespace
}  // namespace Robustness
