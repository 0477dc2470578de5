// Every allocation of every operation fails once, alone and with all that follow it.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "Tables.h"

namespace {

enum class Memory { sufficient, lacksOne, lacksAll };

Memory memory = Memory::sufficient;
std::size_t allocationsLeft = 0;
bool allocationFailed = false;

bool mustFail() noexcept {
    if (memory == Memory::sufficient || allocationsLeft-- > 0) {
        return false;
    }
    allocationFailed = true;
    allocationsLeft = 0;
    if (memory == Memory::lacksOne) {
        memory = Memory::sufficient;
    }
    return true;
}

}  // namespace

// Arrays come here, too, by way of the array forms of the standard library. Nothing here needs extended alignment.
// Not inlined, or else the compiler takes one half of a pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* const allocated = mustFail() ? nullptr : std::malloc(size);
    return allocated != nullptr ? allocated : throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* allocated) noexcept {
    std::free(allocated);
}

[[gnu::noinline]] void operator delete(void* allocated, std::size_t) noexcept {
    std::free(allocated);
}

namespace Robustness {
namespace {

using Attributes = absl::btree_map<Tavik::String, Tavik::String>;

const Attributes twoAttributes = {{"key", "value"}, {"another, longer key", "another, longer value"}};

/// What one operation works on, in tables of which other paths have filled a part. Level 0 is the one of empty tables.
struct World {
    explicit World(std::size_t level) {
        // Tables of no size, as at the start of the process.
        Dedup<Segment>::table_.rehash(0);
        Dedup<Value>::table_.rehash(0);
        for (std::size_t i = 0; i < level; ++i) {
            const std::string text = std::to_string(i);
            // Short-lived neighbours leave their marks in the table.
            static_cast<void>(ObjectPath().append("gone" + text, {{"key", Tavik::String("gone" + text)}}));
            held.push_back(ObjectPath().append(text, {{"key", Tavik::String(std::string_view(text))}}));
        }
        if (level > 0) {
            path = path.append("top", {{"key", "of the top"}});
            for (int i = 0; i < 20; ++i) {
                path = path.append("level");
            }
            other = other.append("a", twoAttributes).append("b").append("a segment with a long name", twoAttributes);
        }
        held.push_back(path);
        held.push_back(other);
    }

    ObjectPath path;
    ObjectPath other;
    std::vector<ObjectPath> held;
};

struct Operation {
    const char* name;
    ObjectPath (*run)(const World& world);
};

constexpr Operation operations[] = {
    {"append", [](const World& world) { return world.path.append("a segment with a longer name"); }},
    {"append with attributes", [](const World& world) { return world.path.append("segment", twoAttributes); }},
    {"append with known attributes", [](const World&) { return ObjectPath().append("segment", twoAttributes); }},
    {"join", [](const World& world) { return world.path.append(world.other); }},
    {"explode", [](const World& world) { return static_cast<void>(world.path.explode()), ObjectPath(); }},
    {"text", [](const World& world) { return static_cast<void>(world.path.toString()), ObjectPath(); }},
    {"match",
     [](const World& world) { return static_cast<void>(world.path.matchesPattern(world.other)), ObjectPath(); }},
    {"attributes",
     [](const World& world) {
         for (const Tavik::ObjectPathSegment& segment : world.other.explode()) {
             static_cast<void>(segment.attributes());
         }
         return ObjectPath();
     }},
};

/// Whether the operation ran out of memory.
bool failsAt(std::size_t allocation, Memory lack, const Operation& operation, const World& world) {
    bool thrown = false;
    allocationFailed = false;
    allocationsLeft = allocation;
    memory = lack;
    try {
        static_cast<void>(operation.run(world));
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    memory = Memory::sufficient;
    EXPECT_EQ(thrown, allocationFailed) << "a failed allocation must reach the caller, and nothing else may";
    return thrown;
}

/// Whether there was an allocation to fail.
bool survivesFailureAt(std::size_t allocation, Memory lack, const Operation& operation, std::size_t level) {
    const World world(level);
    const std::vector<ObjectPath> arguments = {world.path, world.other};
    if (!failsAt(allocation, lack, operation, world)) {
        return false;
    }
    EXPECT_TRUE(arguments == std::vector({world.path, world.other}));
    EXPECT_LE(countLeftovers(world.held), 1U);
    {
        std::vector<ObjectPath> held = world.held;
        held.push_back(operation.run(world));
        EXPECT_EQ(countLeftovers(held), 0U) << "the same operation must use up the entry that a failure left";
    }
    EXPECT_EQ(countLeftovers(world.held), 0U);
    return true;
}

/// Whether the operation makes the table of `Node` larger.
template <typename Node>
bool grows(const Operation& operation, std::size_t level) {
    const World world(level);
    const std::size_t before = Dedup<Node>::table_.bucket_count();
    static_cast<void>(operation.run(world));
    return Dedup<Node>::table_.bucket_count() != before;
}

TEST(Memory, MayLackAtAnyAllocation) {
    // A mutex that is taken twice, by an unfinished operation or a release under the lock, fails instead of waiting.
    const MutexKind kind(PTHREAD_MUTEX_ERRORCHECK);
    // At some of these levels a table is just full.
    constexpr std::size_t levels[] = {0, 1, 2, 17, 18, 19, 20, 21, 23, 24, 25, 26, 43, 44, 45};
    std::size_t largestGrowths = 0;
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        std::size_t failures = 0;
        std::size_t segmentGrowths = 0;
        std::size_t valueGrowths = 0;
        for (const std::size_t level : levels) {
            for (const Memory lack : {Memory::lacksOne, Memory::lacksAll}) {
                std::size_t allocation = 0;
                while (!::testing::Test::HasFailure() && survivesFailureAt(allocation, lack, operation, level)) {
                    expectEmptyTables();
                    ++allocation;
                }
                failures += allocation;
            }
            segmentGrowths += grows<Segment>(operation, level);
            valueGrowths += grows<Value>(operation, level);
        }
        EXPECT_GT(failures, 0U);
        std::printf("%s: %zu failures survived, at %zu levels, %zu and %zu of which make a table grow\n",
                    operation.name, failures, std::size(levels), segmentGrowths, valueGrowths);
        largestGrowths = std::max(largestGrowths, std::min(segmentGrowths, valueGrowths));
    }
}

}  // namespace
}  // namespace Robustness
