// Strings that were crafted to have the same hash take no more comparisons than random ones. They defeat the hash of
// the standard library, whose seed is fixed.

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>

#include "Comparisons.h"
#include "Model.h"
#include "Tables.h"

namespace {

using namespace Robustness;
using Strings = std::vector<std::string>;

constexpr std::uint64_t factor = 0xc6a4'a793'5bd1'e995, inverse = 0x5f7a'0ea7'e59b'19bd, seed = 0xc70f'6907;
static_assert(factor * inverse == 1);

constexpr std::uint64_t mix(std::uint64_t word) {
    return word ^ word >> 47;  // is its own inverse
}

/// A string whose last whole word makes up for `number` before or behind it, so that all of one size have one hash.
std::string collidingText(std::size_t size, std::uint64_t number) {
    const std::string bytes(reinterpret_cast<const char*>(&number), sizeof number);
    const std::string head = bytes.substr(0, size / 8 * 8 - 8);
    const std::string tail = bytes.substr(0, size % 8);
    std::uint64_t state = seed ^ size * factor;
    if (!head.empty()) {
        state = (state ^ mix(number * factor) * factor) * factor;
    }
    std::uint64_t tailWord = 0;
    std::memcpy(&tailWord, tail.data(), tail.size());
    const std::uint64_t word = mix((state ^ tailWord * inverse) * inverse) * inverse;
    return head + std::string(reinterpret_cast<const char*>(&word), sizeof word) + tail;
}

/// The comparisons that it takes to build and to parse paths with the given names, values and keys.
std::size_t countComparisons(const Strings& strings) {
    comparisons = 0;
    std::vector<ObjectPath> paths;
    Attributes attributes;
    std::string segments;
    for (const std::string& text : strings) {
        paths.push_back(ObjectPath().append(text, {{"k", text}}));
        attributes.emplace(text, "v");
        segments += '/' + Model::escape(text, "/[\\");
    }
    paths.push_back(ObjectPath().append("s", attributes));
    paths.push_back(Tavik::parseObjectPath(segments));
    return comparisons;
}

TEST(Collisions, CostNothing) {
    std::mt19937_64 random(Model::seed());
    for (const std::size_t size : {15U, 16U, 17U}) {
        Strings colliding;
        Strings independent;
        for (std::uint64_t number = 0; number < 2'000; ++number) {
            colliding.push_back(collidingText(size, number));
            EXPECT_EQ(std::hash<std::string>()(colliding.back()), std::hash<std::string>()(colliding.front()));
            const std::uint64_t words[] = {random(), random(), random()};
            independent.emplace_back(reinterpret_cast<const char*>(words), size);
        }
        const std::size_t usual = countComparisons(independent);
        EXPECT_GE(usual, independent.size()) << "comparisons must be counted";
        EXPECT_LE(countComparisons(colliding), 3 * usual) << size;
    }
}

/// Compares the hashes of this process with those of a new one.
TEST(CollisionsDeathTest, DependOnTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const char* const text : {"a", "a string that is too long to be held inline"}) {
        const std::string hash = std::to_string(Tavik::String(text).keyedHash());
        setenv(text, hash.c_str(), 0);  // which the new process leaves as it is
        EXPECT_EXIT(_exit(std::getenv(text) == hash), testing::ExitedWithCode(0), "") << text;
    }
}

}  // namespace
