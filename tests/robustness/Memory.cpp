// Every allocation of every operation fails, alone or with all that follow it.

#include <Tavik/ObjectPath/PatternSet.h>

#include <malloc.h>
#include <sys/resource.h>

#include <array>
#include <cstdlib>
#include <map>
#include <thread>

#include "Model.h"
#include "Tables.h"

namespace {

using namespace Robustness;

constexpr std::size_t unlimited = SIZE_MAX;
std::size_t allocationsLeft = unlimited;
bool failuresContinue = false;
std::size_t failures = 0;
std::size_t exceptions = 0;
std::size_t blocks = 0;
std::size_t largestBlock = 0;
std::vector<ObjectPath>* releasedBeforeLargeBlock = nullptr;

const Attributes attributes = {{"key", "value"}, {"another, longer key", "another, longer value"}};

ObjectPath numbered(std::size_t number) {
    return ObjectPath().append(std::to_string(number), {{"key", std::to_string(number)}});
}

/// Paths to operate on, and others that fill a part of the tables; at level 0 only the root path, as in a new process.
struct World {
    explicit World(std::size_t level) {
        setMutexKind(PTHREAD_MUTEX_ERRORCHECK);  // fails when it is taken twice, instead of waiting
        EXPECT_EQ(countLeftovers({}), 0U);
        Dedup<Segment>::table_.rehash(0);
        Dedup<Value>::table_.rehash(0);
        if (level > 0) {
            path = path.append("level", {{"key", "of the first"}});
            for (std::size_t i = 1; i < 20; ++i) {
                path = path.append("level", {{"key", "of others"}});
            }
            other = other.append("a", attributes).append("b").append("a longer name", attributes);
        }
        held = {path, other};
        while (held.size() < level) {
            held.push_back(numbered(held.size()));
        }
    }

    ObjectPath path;
    ObjectPath other;
    std::vector<ObjectPath> held;
};

/// Returns a path if it builds one, which must then be in the tables.
struct Operation {
    const char* name;
    ObjectPath (*run)(const World& world);
};

constexpr Operation operations[] = {
    {"reserve", [](const World&) { return ObjectPath::reserve(50, 50), ObjectPath(); }},
    {"append", [](const World& w) { return w.path.append("a segment with a longer name"); }},
    {"append with attributes", [](const World& w) { return w.path.append("segment", attributes); }},
    {"append with attributes in braces",
     [](const World& w) {
         return w.path.append("segment", {{"k", "a value in braces, unordered"}, {"a", "b"}});
     }},
    {"append with a range",
     [](const World& w) {
         return w.path.append("segment", std::map<std::string, Tavik::String>{{"k", "v"}});
     }},
    {"append with known values", [](const World&) { return ObjectPath().append("segment", attributes); }},
    {"join", [](const World& w) { return w.path.append(w.other); }},
    {"explode", [](const World& w) { return static_cast<void>(w.path.explode()), ObjectPath(); }},
    {"text", [](const World& w) { return static_cast<void>(w.path.toString()), ObjectPath(); }},
    {"match", [](const World& w) { return static_cast<void>(w.path.matchesPattern(w.other)), ObjectPath(); }},
    {"capture", [](const World& w) { return static_cast<void>(w.path.capture(w.path)), ObjectPath(); }},
    {"attributes",
     [](const World& w) {
         if (const auto leaf = w.other.leaf()) {
             static_cast<void>(leaf->attributes());
         }
         return ObjectPath();
     }},
};

/// Whether an allocation of `operation` fails. It must report that, unless the allocation reported it by null.
bool fails(bool continuing, std::size_t allocation, const auto& operation) {
    failures = exceptions = 0;
    bool thrown = false;
    failuresContinue = continuing;
    allocationsLeft = allocation;
    try {
        static_cast<void>(operation());
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    allocationsLeft = unlimited;
    EXPECT_EQ(thrown, exceptions > 0) << "exactly a failed allocation must reach the caller";
    return failures > 0;
}

/// Whether there was an allocation to fail.
bool survives(bool continuing, std::size_t allocation, const Operation& operation, std::size_t level) {
    World world(level);
    if (!fails(continuing, allocation, [&] { return operation.run(world); })) {
        return false;
    }
    EXPECT_EQ(world.path, world.held[0]);
    EXPECT_EQ(world.other, world.held[1]);
    EXPECT_EQ(countLeftovers(world.held), 0U);
    world.held.push_back(operation.run(world));
    EXPECT_EQ(countLeftovers(world.held), 0U);
    return true;
}

TEST(Memory, MayFailAtAnyAllocation) {
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.name);
        // At some of these levels a table is just full.
        for (const std::size_t level : {0U, 1U, 2U, 3U, 4U, 5U, 25U, 26U, 27U, 28U, 29U, 30U}) {
            for (const bool continuing : {false, true}) {
                for (std::size_t i = 0; !HasFailure() && survives(continuing, i, operation, level); ++i) {
                }
            }
        }
    }
}

TEST(Memory, IsNotNeededToCompare) {
    const ObjectPath tail = Model::build(Model::Path(3'000, {"s", {}}));
    const ObjectPath lesser = ObjectPath().append("a").append(tail);
    const ObjectPath greater = ObjectPath().append("b").append(tail);
    EXPECT_FALSE(fails(false, 0, [&] { return greater.compare(lesser); }));
    EXPECT_LT(lesser, greater);
}

TEST(Memory, IsNotNeededToFindRecentNodes) {
    const ObjectPath path = ObjectPath().append("a");
    std::jthread([&] {
        failuresContinue = true;
        allocationsLeft = 0;
        const ObjectPath found = ObjectPath().append("a");
        allocationsLeft = unlimited;
        EXPECT_EQ(found, path);
    });
}

TEST(Memory, IsNotNeededToFindPaths) {
    const ObjectPath path = Tavik::parseObjectPath("/a[k=v][l=w]/b");
    for (const std::size_t allocations : {unlimited, std::size_t{0}}) {
        failuresContinue = true;
        allocationsLeft = allocations;
        const bool isRight = Tavik::findObjectPath("/a[k=v][l=w]/b") == path &&
                             !Tavik::findObjectPath("/a[k=v][l=w]/c[k=v][m=w]/d") && !Tavik::findObjectPath("/a[k=v");
        allocationsLeft = unlimited;
        EXPECT_TRUE(isRight);
    }
}

TEST(Memory, IsNotTakenForEveryEscape) {
    const auto repeated = [](const char* first, const char* others) {
        std::string text = first;
        for (int i = 0; i < 100'000; ++i) {
            text += others;
        }
        return text;
    };
    for (const std::string& text : {repeated("", "/\\/"), repeated("/a[k=]", "[k=\\/]")}) {
        const ObjectPath path = Tavik::parseObjectPath(text);
        largestBlock = 0;
        EXPECT_EQ(Tavik::parseObjectPath(text), path);
        EXPECT_LT(largestBlock, 100'000U) << "bytes, or one for each escape";
    }
}

TEST(Memory, IsReleasedWithTheLastPath) {
    const auto inUse = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
    const std::string text(500'000, 'x');
    const std::size_t before = inUse();
    for (std::size_t round = 0, blocksBefore = 0; round < 3; ++round) {
        blocksBefore = blocks;
        std::jthread([&] {
            const ObjectPath path = ObjectPath().append(text);
            EXPECT_EQ(ObjectPath().append(text), path);
        });
        EXPECT_TRUE(round == 0 || blocks == blocksBefore) << "the table may grow only once";
    }
    for (int round = 0; round < 100'000; ++round) {
        static_cast<void>(ObjectPath().append("a text that is too long to be held inline"));
    }
    EXPECT_LT(inUse(), before + text.size());
}

/// The cache that all threads share keeps no memory of a node, and is not needed.
TEST(Memory, IsReleasedByThreadsThatMeet) {
#ifdef SANITIZED
    constexpr std::array isShort = {false};  // sanitizers need address space
#else
    constexpr std::array isShort = {true, false};
#endif
    for (const bool isShortOfSpace : isShort) {
        const auto use = [isShortOfSpace] {
            meetOthers();
            rlimit limit{};
            getrlimit(RLIMIT_AS, &limit);
            const rlimit none = {1 << 20, limit.rlim_max};
            setrlimit(RLIMIT_AS, isShortOfSpace ? &none : &limit);
            std::vector<ObjectPath> paths;
            for (std::size_t i = 0; i < 200; ++i) {
                paths.push_back(numbered(i));
                EXPECT_EQ(numbered(i), paths.back());
            }
            setrlimit(RLIMIT_AS, &limit);
        };
        std::jthread{use};
        const std::size_t blocksBefore = blocks;
        std::jthread{use};
        EXPECT_EQ(blocks, blocksBefore);
    }
}

/// Another thread releases paths, so that tables shrink, while room is allocated.
TEST(Memory, IsReservedWhileTablesShrink) {
    setMutexKind(PTHREAD_MUTEX_DEFAULT);
    std::vector<ObjectPath> paths;
    while (paths.size() < 60'000) {
        paths.push_back(numbered(paths.size()));
    }
    releasedBeforeLargeBlock = &paths;
    ObjectPath::reserve(30'000, 400'000);
    EXPECT_TRUE(paths.empty());
    const std::size_t slots = Dedup<Segment>::table_.bucket_count();
    for (std::size_t i = 0; i < 30'000; ++i) {
        paths.push_back(numbered(i));
    }
    EXPECT_EQ(Dedup<Segment>::table_.bucket_count(), slots);
    paths.resize(2'000);
    EXPECT_FALSE(fails(true, 0, [&] { return paths.resize(1'000), 0; })) << "a release rebuilds nothing";
    EXPECT_EQ(Dedup<Segment>::table_.bucket_count(), slots);
    ObjectPath::reserve(0, 0);
    EXPECT_LT(Dedup<Segment>::table_.bucket_count(), slots / 8);
}

TEST(Memory, MayFailInPatternSets) {
    for (const bool continuing : {false, true}) {
        Tavik::ObjectPathPatternSet set;
        Tavik::ObjectPathPatternSet equal;
        set.remove(set.add(numbered(1'000)));  // its nodes are used again
        ObjectPath pattern;
        for (std::size_t size = 0; size < 40 && !HasFailure(); ++size) {
            pattern = pattern.append("...").append(numbered(size));
            const auto expect = [&](std::size_t count, std::size_t matches) {
                EXPECT_EQ(set.size(), count);
                EXPECT_EQ(set.match(pattern).size(), matches);
            };
            for (std::size_t i = 0; fails(continuing, i, [&] { return set.add(pattern); }); ++i) {
                expect(2 * size, size);
            }
            ObjectPath branch = numbered(size);  // fills the table of edges, which grows
            for (std::size_t i = 0; i < size % 5; ++i) {
                branch = branch.append("b");
            }
            for (std::size_t i = 0; fails(continuing, i, [&] { return set.add(branch); }); ++i) {
                expect(2 * size + 1, size + 1);
            }
            const Tavik::ObjectPathPatternSet backup = set;
            Tavik::ObjectPathPatternSet copy;
            copy.add(branch);
            for (std::size_t i = 0; fails(continuing, i, [&] { return (copy = set).match(pattern); }); ++i) {
                expect(2 * size + 2, size + 1);
                EXPECT_EQ(copy[0], copy.size() == 1 ? branch : set[0]);
            }
            for (std::size_t i = 0; i < 2 * size; ++i) {
                copy.remove(i);  // so that the next copy leaves out free nodes
            }
            for (std::size_t i = 0; fails(continuing, i, [&] { return set = copy, 0; }); ++i) {
                EXPECT_EQ(set.size(), 2 * size + 2);
            }
            EXPECT_EQ(set.match(pattern), std::vector<std::size_t>{2 * size});
            set = backup;
            EXPECT_FALSE(fails(true, 0, [&] { return copy.remove(2 * size), copy.clear(), 0; }));
            for (std::size_t i = 0; fails(continuing, i, [&] { return equal.addLast({}, {true, false}); }); ++i) {
                EXPECT_EQ(equal.match({}).size(), size);
            }
        }
        const ObjectPath path = numbered(0);
        std::vector<std::size_t> indexes(2);
        EXPECT_FALSE(fails(true, 0, [&] { set.match(path, indexes); }));
        EXPECT_FALSE(fails(true, 0, [&] { return set.matchesAny(path) && set.firstMatch(path); }));
        EXPECT_EQ(indexes, (std::vector<std::size_t>{0, 1}));
    }
}

TEST(Memory, IsUsedAgainInPatternSets) {
    Tavik::ObjectPathPatternSet set;
    for (std::size_t i = 0; i < 4; ++i) {
        set.add(numbered(i));
    }
    for (int round = 0; round < 20; ++round) {
        const ObjectPath pattern = set[3];
        set.remove(3);
        EXPECT_FALSE(fails(true, 0, [&] { return set.add(pattern); })) << round;
    }
    for (std::size_t size = 4; size < 100; ++size) {
        for (std::size_t i = 0; fails(false, i, [&] { return set.add(numbered(size)); }); ++i) {
            EXPECT_EQ(set.size(), size);
        }
    }
}

TEST(Memory, IsNotNeededToKeepALargeTable) {
    setMutexKind(PTHREAD_MUTEX_DEFAULT);
    for (const std::size_t shrinks : {0U, 1U}) {
        std::vector<ObjectPath> paths;
        while (paths.size() < 100'000) {
            paths.push_back(numbered(paths.size()));
        }
        const std::size_t slots = Dedup<Segment>::table_.bucket_count();
        failuresContinue = true;
        allocationsLeft = shrinks;
        paths.resize(1'000);
        allocationsLeft = unlimited;
        if (shrinks == 0) {
            EXPECT_EQ(Dedup<Segment>::table_.bucket_count(), slots);
        }
        EXPECT_EQ(countLeftovers(paths), 0U);
        paths.pop_back();
        EXPECT_LT(Dedup<Segment>::table_.bucket_count(), slots);
        EXPECT_EQ(countLeftovers(paths), 0U);
    }
}

TEST(Memory, MayFailNowAndThen) {
    Model::Generator random(Model::seed());
    for (int life = 0; life < 300; ++life) {
        // Some of the larger worlds fill a table up to the number of entries at which it grows.
        World world(life % 10 == 0 ? 150 + random.below(50) : 3 + random.below(50));
        for (int round = 0; round < 100; ++round) {
            ObjectPath& path = world.held[2 + random.below(world.held.size() - 2)];
            path = ObjectPath();
            const std::size_t number = random.below(100'000);
            fails(false, random.below(8), [&] { return numbered(number); });
            path = numbered(number);
        }
        EXPECT_EQ(countLeftovers(world.held), 0U);
    }
    setMutexKind(PTHREAD_MUTEX_DEFAULT);  // a child may not unlock what checks its owner
    EXPECT_DEATH((allocationsLeft = 0, static_cast<void>(Tavik::tryParseObjectPath("/a"))), "terminate called");
}

}  // namespace

// The forms that the library uses. Not inlined, or else the compiler takes one half of a pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (allocationsLeft == 0) {
        allocationsLeft = failuresContinue ? 0 : unlimited;
        ++failures;
        ++exceptions;
        throw std::bad_alloc();
    }
    if (allocationsLeft != unlimited) {
        --allocationsLeft;
    }
    if (size > 1'000'000 && releasedBeforeLargeBlock != nullptr) {
        std::exchange(releasedBeforeLargeBlock, nullptr)->clear();
    }
    ++blocks;
    largestBlock = std::max(largestBlock, size);
    return std::malloc(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
    return operator new(size);
} catch (const std::bad_alloc&) {
    --exceptions;  // what returns null need not reach the caller
    return nullptr;
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    blocks -= block != nullptr;
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
