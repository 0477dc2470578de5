// What a match in a set of patterns looks at.

#include <gtest/gtest.h>

#include <Tavik/ObjectPath/PatternSet.h>

#include "Comparisons.h"

namespace {

using Robustness::comparisons;
using Tavik::ObjectPath;
using Tavik::ObjectPathPatternSet;

/// A string that is too long to be held inline, so that its comparisons with others count.
std::string longText(std::size_t number) {
    return "a longer string " + std::to_string(100'000 + number);
}

TEST(PatternCosts, FirstMatchLeavesOutGreaterIndexes) {
    ObjectPathPatternSet set;
    for (const char* pattern :
         {"/x/.../another string 1111111", "/x", "/x/.../another string 0000000", "/*/*/.../another string 0000000"}) {
        set.add(Tavik::parseObjectPath(pattern));
    }
    set.remove(0);  // after which only greater indexes begin with "/x/..."
    ObjectPath path = ObjectPath().append("x");
    for (std::size_t level = 0; level < 50; ++level) {
        path = path.append(longText(level));
    }
    comparisons = 0;
    EXPECT_EQ(set.match(path).size(), 1U);
    EXPECT_GE(comparisons, 90U) << "comparisons must be counted";
    comparisons = 0;
    EXPECT_EQ(set.firstMatch(path), 1U);
    EXPECT_EQ(comparisons, 0U);
    set.remove(1);
    EXPECT_EQ(set.firstMatch(path), std::nullopt);
}

TEST(PatternCosts, AttributesTakeLinearTime) {
    constexpr std::size_t count = 2'000;
    absl::btree_map<Tavik::String, Tavik::String> all;
    absl::btree_map<Tavik::String, Tavik::String> half;
    for (std::size_t i = 0; i < count; ++i) {
        all.emplace(longText(i), "v");
        if (i % 2 == 0) {
            half.emplace(longText(i), "v");
        }
    }
    ObjectPathPatternSet set;
    for (const char* last : {"v", "w"}) {
        half.rbegin()->second = last;
        set.add(ObjectPath().append("a", half));
        half.emplace(longText(count), "v");
        set.add(ObjectPath().append("a", half));
        half.erase(longText(count));
    }
    const ObjectPath path = ObjectPath().append("a", all);
    comparisons = 0;
    EXPECT_EQ(set.match(path).size(), 1U);
    EXPECT_GE(comparisons, count / 2) << "comparisons must be counted";
    EXPECT_LE(comparisons, 3 * count);
}

}  // namespace
