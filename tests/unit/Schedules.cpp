// Threads that find, enter and forget nodes while others resize what holds them: in every order of their steps.

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>

#include <Tavik/ObjectPath/Nodes/FoundNodes.h>

#include <gtest/gtest.h>

#include "../Schedules.h"

namespace {

using Schedules::saw;

/// Whether what is seen counts, which it does not in a thread that a fork has left behind.
bool isWatched = true;

struct Node {
    int content;
    std::size_t hash;
    bool isAlive = true;
    mutable int references = 0;

    friend bool operator==(const Node& node, int content) { return node.content == content; }
};

/// A weak reference that notices when two threads access it at once, or when its memory changes meanwhile.
class Reference {
public:
    Reference() = default;
    explicit Reference(const std::shared_ptr<const Node>& node) : node_(node.get()) { ++node_->references; }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;
    ~Reference() { node_ != nullptr ? --node_->references : 0; }

    [[nodiscard]] std::shared_ptr<const Node> lock() const {
        return expired() ? nullptr : std::shared_ptr<const Node>(std::shared_ptr<void>(), node_);
    }
    [[nodiscard]] bool expired() const { return access(), saw(node_ == nullptr || !node_->isAlive); }
    void swap(Reference& other) { access(), std::swap(node_, other.node_); }

private:
    void access() const {
        EXPECT_FALSE(isWatched && isBusy_) << "two threads in one bucket";
        isBusy_ = true;
        Schedules::pause();
        EXPECT_TRUE(!isWatched || isBusy_) << "zeroed while a thread is there";
        isBusy_ = false;
    }

    const Node* node_ = nullptr;
    mutable bool isBusy_ = false;
};

/// Two pages of two buckets, and the marks.
struct Pages {
    alignas(64) static inline std::array<std::uint64_t, 4 * (64 + 4) / 8> space;
    static inline int zeroed;

    static void* reserve(std::size_t size) { return size == sizeof space ? space.data() : nullptr; }
    static bool makeUsable(void*, std::size_t) { return true; }
    static bool zero(void* begin, std::size_t size) {
        Schedules::pause();
        ++zeroed;
        return std::memset(begin, 0, size) != nullptr;
    }
};

struct Parts {
    template <typename T>
    using Atomic = Schedules::Atomic<T>;
    using Reference = ::Reference;
    using Pages = ::Pages;
    static constexpr std::size_t bucketsOfPage = 2;
    static constexpr std::size_t mostBuckets = 4;
    static constexpr std::size_t bucketsForEachWanted = 1;
};

using FoundNodes = Tavik::Impl::FoundNodes<Node, Parts>;

constexpr std::size_t nodesOfAllBuckets = 8;

class FoundNodesSchedules : public testing::Test {
protected:
    static std::shared_ptr<const Node> owner(const Node& node) { return {std::shared_ptr<void>(), &node}; }

    /// What a thread does, a letter for each operation.
    void operate(const char* operations) {
        for (; *operations != '\0'; ++operations) {
            switch (*operations) {
                case 'f': {
                    const auto found = nodes->find(0, a.hash);
                    EXPECT_TRUE(found == nullptr || found.get() == &a);
                    break;
                }
                case 'e':
                    nodes->enter(owner(b), b.hash, nodesOfAllBuckets);
                    break;
                case 'g':
                    nodes->enter(owner(c), c.hash, nodesOfAllBuckets);
                    break;
                case 's':
                    nodes->enter(owner(c), c.hash, 1);
                    break;
                default:
                    a.isAlive = false;
                    nodes->forget(a.hash);
            }
            Schedules::forget(std::strlen(operations));
        }
    }

    void begin() {
        Pages::space = {};
        Pages::zeroed = 0;
        for (Node* const node : {&a, &b, &c}) {
            node->isAlive = true;
            node->references = 0;
        }
        nodes.emplace();
        nodes->enter(owner(a), a.hash, nodesOfAllBuckets);
    }

    /// The buckets and marks, the masks and the nodes.
    std::uint64_t state() {
        std::array<std::uint64_t, (sizeof *nodes + 7) / 8> words{};
        std::memcpy(words.data(), static_cast<const void*>(&*nodes), sizeof *nodes);
        std::uint64_t hash = a.isAlive ? 1 : 2;
        for (const std::uint64_t word : Pages::space) {
            hash = Schedules::mix(hash, word);
        }
        for (const std::uint64_t word : words) {
            hash = Schedules::mix(hash, word);
        }
        return hash;
    }

    /// Expects that no bucket is locked, that no reference was lost, and that nodes can be entered and found.
    bool end() {
        int references = 0;
        for (std::size_t bucket = 0; bucket < Parts::mostBuckets; ++bucket) {
            const bool isAbandoned = !isWatched && bucket == 0;  // a thread entered a node there at the fork
            EXPECT_TRUE(static_cast<std::uint32_t>(Pages::space[8 * bucket]) == 0 || isAbandoned) << "a locked bucket";
            for (std::size_t slot = 0; slot < 3; ++slot) {
                references += Pages::space[8 * bucket + 2 + 2 * slot] != 0 ? 1 : 0;
            }
        }
        EXPECT_TRUE(!isWatched || references == a.references + b.references + c.references);
        nodes->enter(owner(b), b.hash, nodesOfAllBuckets);
        EXPECT_EQ(nodes->find(1, b.hash).get(), &b);
        return !HasFailure();
    }

    // The first two are in one bucket, of the page that is not used when there are few nodes.
    Node a{0, 3ULL << 32 | 1 << 24};
    Node b{1, 7ULL << 32 | 3 << 24};
    Node c{2, 4ULL << 32 | 5 << 24};
    std::optional<FoundNodes> nodes;
};

TEST_F(FoundNodesSchedules, AreSafeInEveryOrder) {
    for (const std::vector<const char*>& threads :
         std::initializer_list<std::vector<const char*>>{{"f", "sge"}, {"e", "sg"}, {"k", "sge"}, {"f", "s", "e"}}) {
        std::vector<std::function<void()>> bodies;
        for (const char* const operations : threads) {
            bodies.emplace_back([=, this] { operate(operations); });
        }
        const std::size_t states = Schedules::runAll(
            bodies, [this] { begin(); }, [this] { return state(); }, [this] { return end(); });
        EXPECT_GT(states, 500U);
    }
}

/// A thread that is stopped while it enters a node keeps at most the page of the bucket that it has locked.
TEST_F(FoundNodesSchedules, AreGivenBackWhileAThreadIsStopped) {
    Schedules::Worker worker;
    for (int steps = 2;; ++steps) {  // beyond the look whether the buckets are to grow again
        begin();
        worker.start([this] { operate("e"); });
        for (int i = 0; i < steps && !worker.isDone(); ++i) {
            worker.step();
        }
        if (worker.isDone()) {
            break;
        }
        const auto page = std::span(Pages::space).subspan(16, 16);
        const bool isLocked = static_cast<std::uint32_t>(page[8]) != 0;
        operate("s");
        while (!worker.isDone()) {
            worker.step();
        }
        EXPECT_EQ(Pages::zeroed == 1 && std::ranges::count(page, 0U) == 16, !isLocked);
        end();
    }
}

/// A child of a fork goes on wherever a thread of its parent was resizing.
TEST_F(FoundNodesSchedules, AreRepairedAfterAFork) {
    Schedules::Worker worker;
    for (int steps = 1; !HasFailure(); ++steps) {
        begin();
        worker.start([this] { operate("s"); });
        for (int i = 0; i < steps && !worker.isDone(); ++i) {
            worker.step();
        }
        if (worker.isDone()) {
            EXPECT_GT(steps, 10);
            break;
        }
        isWatched = false;
        nodes->repairAfterFork();
        end();
        while (!worker.isDone()) {
            worker.step();
        }
        isWatched = true;
    }
}

}  // namespace
