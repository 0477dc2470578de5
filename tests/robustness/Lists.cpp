// Lists are parsed from the last parent: of a string that begins like it, only the levels after that are looked up, and
// only these take comparisons of strings.

#include <thread>

#include "Comparisons.h"
#include "Tables.h"

namespace {

using namespace Robustness;
using Lines = std::vector<std::string>;

constexpr std::size_t lineCount = 200;
constexpr std::size_t depth = 10;  // of a parent

/// A level whose strings take a comparison when the level is looked up.
std::string level(std::size_t number) {
    return fmt::format("/directory number {}", number % 10);
}

std::string parentOf(std::size_t levels) {
    std::string parent;
    for (std::size_t i = 0; i < levels; ++i) {
        parent += level(0);
    }
    return parent;
}

struct List {
    const char* name;
    double levelsToLookUp;  // of each line, on average
    std::string (*line)(std::size_t number);
};

constexpr List lists[] = {
    {"siblings", 1, [](std::size_t i) { return parentOf(depth) + level(i); }},
    {"siblings without the first slash", 1, [](std::size_t i) { return parentOf(depth).substr(1) + level(i) + '/'; }},
    {"always the same path", 1, [](std::size_t) { return parentOf(depth); }},
    {"another parent in every line", 2, [](std::size_t i) { return parentOf(depth - 1) + level(i) + level(0); }},
    {"another parent in every fifth line", 1.25,
     [](std::size_t i) { return parentOf(depth - 1) + level(i / 5) + level(i); }},
    {"down and up again", 1,
     [](std::size_t i) { return parentOf(i % depth < 5 ? depth - 5 + i % depth : depth - i % depth + 5); }},
    {"attributes", 1,
     [](std::size_t i) { return "/a[k=v]" + parentOf(depth - 3) + "[k=a value of this segment][l=w]" + level(i); }},
    {"attributes that differ", 1,
     [](std::size_t i) { return parentOf(depth) + fmt::format("/b[k={}]", i % 3) + level(i); }},
    {"240 bytes", 1, [](std::size_t i) { return parentOf(11) + std::string(32, 'x') + level(i); }},
    {"16 levels", 1, [](std::size_t i) { return "/a/b/c/d/e/f" + parentOf(depth) + level(i); }},
};

TEST(Lists, AreParsedFromTheLastParent) {
    for (const List& list : lists) {
        std::vector<ObjectPath> kept;
        for (std::size_t i = 0; i < lineCount; ++i) {
            kept.push_back(Tavik::parseObjectPath(list.line(i)));
        }
        std::jthread([&] {  // which has no last parent
            Lines lines;
            for (std::size_t i = 0; i < lineCount; ++i) {
                lines.push_back(list.line(i));
            }
            // The nodes of a parent are remembered when it is seen for the second time in a row.
            static_cast<void>(Tavik::parseObjectPath(lines.front()));
            static_cast<void>(Tavik::parseObjectPath(lines.front()));
            comparisons = 0;
            for (const std::string& line : lines) {
                static_cast<void>(Tavik::parseObjectPath(line));
            }
            // Nodes that share a slot of a cache take a few more; without a last parent, there are ten times as many.
            EXPECT_LE(static_cast<double>(comparisons), 2 * lineCount * list.levelsToLookUp) << list.name;
            EXPECT_GE(comparisons, lineCount) << "comparisons must be counted";
        });
    }
}

}  // namespace
