// What a match in a set of patterns looks at.

#include <gtest/gtest.h>

#include <Tavik/ObjectPath/PatternSet.h>
#include <Tavik/ObjectPath/Patterns/NodeSet.h>

#include <algorithm>

#include "Comparisons.h"

namespace {

using Robustness::comparisons;
using Tavik::ObjectPath;
using Tavik::ObjectPathPatternSet;
using Tavik::Impl::NodeIndex;
using Tavik::Impl::PatternNode;
using Tavik::Impl::StepKind;

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

/// Nodes that a person may choose: the first `count` of many in the order of `home`, which gets the product of a node
/// and the factor that the library's source shows.
std::vector<NodeIndex> chosenNodes(std::size_t count, auto home) {
    std::vector<NodeIndex> nodes(20 * count);
    std::ranges::generate(nodes, [i = 0U]() mutable { return static_cast<NodeIndex>(++i); });
    std::ranges::sort(nodes, {},
                      [&](NodeIndex node) { return home(static_cast<std::uint64_t>(node) * 0x9e37'79b9'7f4a'7c15); });
    nodes.resize(count);
    return nodes;
}

constexpr std::uint64_t (*homes[])(std::uint64_t) = {
    [](std::uint64_t product) { return product; },
    [](std::uint64_t product) { return product >> 32 & 4'095; },
};

/// The edges from some nodes with some strings take at most three probes each.
void expectShortSearches(const std::vector<NodeIndex>& nodes, std::size_t strings) {
    std::vector<PatternNode> edges;
    for (const NodeIndex node : nodes) {
        for (std::size_t i = 0; i < strings; ++i) {
            PatternNode& edge = edges.emplace_back();
            edge.text = longText(i);
            edge.parent = node;
            edge.kind = i % 2 == 0 ? StepKind::name : StepKind::key;
        }
    }
    Tavik::Impl::EdgeTable table;
    table.reserve(edges.size());
    for (const PatternNode& edge : edges) {
        table.insert(edge, static_cast<NodeIndex>(&edge - edges.data()));
    }
    std::size_t probes = 0;
    for (const PatternNode& edge : edges) {
        Tavik::Impl::HashedText text(edge.text);
        EXPECT_EQ(&edge - edges.data(), std::ptrdiff_t(table.find(edges, {edge.parent, edge.kind, text}, probes)));
    }
    EXPECT_GE(probes, edges.size()) << "probes must be counted";
    EXPECT_LE(probes, 3 * edges.size());
}

TEST(PatternCosts, NothingCanBeChosenToShareASlot) {
    expectShortSearches({NodeIndex::root}, 20'000);
    for (const auto home : homes) {
        expectShortSearches(chosenNodes(10'000, home), 2);
        Tavik::Impl::NodeSet set;
        std::size_t probes = 0;
        for (const NodeIndex node : chosenNodes(2'000, home)) {
            EXPECT_TRUE(set.insert(node, probes));
        }
        EXPECT_GE(probes, 4'000U) << "probes must be counted";
        EXPECT_LE(probes, 12'000U);
    }
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
