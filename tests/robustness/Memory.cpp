// Every allocation of every operation fails, alone or with all that follow it.

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "Model.h"
#include "Tables.h"

namespace {

constexpr std::size_t unlimited = SIZE_MAX;
std::size_t allocationsLeft = unlimited;
bool lackLasts = false;
std::size_t failures = 0;
std::size_t blocks = 0;

}  // namespace

// The forms that the library uses. Not inlined, or else the compiler takes one half of a pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (allocationsLeft == 0) {
        allocationsLeft = lackLasts ? 0 : unlimited;
        ++failures;
        throw std::bad_alloc();
    }
    allocationsLeft -= allocationsLeft != unlimited;
    ++blocks;
    return std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    blocks -= block != nullptr;
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

using namespace Robustness;

const absl::btree_map<Tavik::String, Tavik::String> attributes = {{"key", "v"},
                                                                  {"another, longer key", "longer value"}};

ObjectPath numbered(std::size_t number) {
    const std::string text = std::to_string(number);
    return ObjectPath().append(text, {{"key", Tavik::String(std::string_view(text))}});
}

/// Paths to operate on, and others that fill a part of the tables; at level 0 only the root path, and tables as they
/// are in a new process. There must be no other paths.
struct World {
    explicit World(std::size_t level) {
        EXPECT_EQ(countLeftovers({}), 0U);
        Dedup<Segment>::table_.rehash(0);
        Dedup<Value>::table_.rehash(0);
        for (std::size_t i = 0; level > 0 && i < 20; ++i) {
            path = path.append("level", {{"key", i == 0 ? "of the first" : "of others"}});
        }
        other = level > 0 ? other.append("a", attributes).append("b").append("a longer name", attributes) : path;
        leaf = other.leaf();
        held = {path, other};
        while (held.size() < level) {
            held.push_back(numbered(held.size()));
        }
    }

    ObjectPath path;
    ObjectPath other;
    std::optional<Tavik::ObjectPathSegment> leaf;
    std::vector<ObjectPath> held;
};

using Operation = std::pair<const char*, ObjectPath (*)(const World& world)>;

constexpr Operation operations[] = {
    {"append", [](const World& w) { return w.path.append("a segment with a longer name"); }},
    {"append with attributes", [](const World& w) { return w.path.append("segment", attributes); }},
    {"append with known values", [](const World&) { return ObjectPath().append("segment", attributes); }},
    {"join", [](const World& w) { return w.path.append(w.other); }},
    {"explode", [](const World& w) { return w.path.explode().empty() ? w.path : w.other; }},
    {"text", [](const World& w) { return w.path.toString().empty() ? w.path : w.other; }},
    {"match", [](const World& w) { return w.path.matchesPattern(w.other) ? w.path : w.other; }},
    {"attributes", [](const World& w) { return w.leaf && w.leaf->attributes().empty() ? w.path : w.other; }},
};

/// Runs `operation` in want of memory. Returns whether it ran out of it, which it must tell.
template <typename Run>
bool fails(bool lasting, std::size_t allocation, const Run& run) {
    const std::size_t failuresBefore = failures;
    bool thrown = false;
    lackLasts = lasting;
    allocationsLeft = allocation;
    try {
        static_cast<void>(run());
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    allocationsLeft = unlimited;
    EXPECT_EQ(thrown, failures > failuresBefore) << "exactly a failed allocation must reach the caller";
    return thrown;
}

/// Whether there was an allocation to fail.
bool survives(bool lasting, std::size_t allocation, const Operation& operation, std::size_t level) {
    World world(level);
    if (!fails(lasting, allocation, [&] { return operation.second(world); })) {
        return false;
    }
    EXPECT_TRUE(world.path == world.held[0] && world.other == world.held[1]);
    EXPECT_LE(countLeftovers(world.held), 1U);
    world.held.push_back(operation.second(world));
    EXPECT_EQ(countLeftovers(world.held), 0U) << "the same operation must use up the entry that a failure left";
    return true;
}

TEST(Memory, MayLackAtAnyAllocation) {
    // A mutex that is taken twice, by an unfinished operation or a release under the lock, fails instead of waiting.
    setMutexKind(PTHREAD_MUTEX_ERRORCHECK);
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.first);
        static_cast<void>(World(0));
        const std::size_t blocksBefore = blocks;
        const std::size_t failuresBefore = failures;
        std::size_t growths = 0;
        // At some of these levels a table is just full.
        for (const std::size_t level : {0, 1, 3, 4, 5, 6, 18, 19, 20, 21, 22, 23, 27, 28, 29, 30, 46, 47, 48}) {
            for (const bool lasting : {false, true}) {
                for (std::size_t i = 0; !HasFailure() && survives(lasting, i, operation, level); ++i) {
                }
            }
            const World world(level);
            const std::size_t slots = Dedup<Segment>::table_.bucket_count();
            static_cast<void>(operation.second(world));
            growths += Dedup<Segment>::table_.bucket_count() > slots;
        }
        static_cast<void>(World(0));
        EXPECT_EQ(blocks, blocksBefore) << "memory was lost";
        std::printf("%zu failures, growth at %zu levels: %s\n", failures - failuresBefore, growths, operation.first);
    }
}

TEST(Memory, MayLackNowAndThen) {
    setMutexKind(PTHREAD_MUTEX_ERRORCHECK);
    Model::Generator random(Model::seed());
    for (int life = 0; life < 300; ++life) {
        World world(3 + random.below(50));
        for (int round = 0; round < 100; ++round) {
            ObjectPath& path = world.held[2 + random.below(world.held.size() - 2)];
            path = ObjectPath();
            const std::size_t number = random.below(100'000);
            fails(false, random.below(8), [&] { return numbered(number); });
            path = numbered(number);
        }
        EXPECT_EQ(countLeftovers(world.held), 0U);
    }
    std::printf("%zu failures\n", failures);
}

}  // namespace
