// Reads one path a line from standard input and prints those that match a pattern, in canonical form.

#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

constexpr int foundStatus = 0;
constexpr int nothingFoundStatus = 1;
constexpr int errorStatus = 2;

struct Counts {
    std::size_t read = 0;
    std::size_t malformed = 0;
    std::size_t matched = 0;
};

/// Says on standard error what is wrong and ends the program.
[[noreturn]] void fail(std::string_view message) {
    std::cout.flush();
    std::cerr << "objectpath-grep: " << message << '\n';
    std::exit(errorStatus);
}

ObjectPath parsePattern(std::string_view text) {
    const auto result = Tavik::tryParseObjectPath(text);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        fail(fmt::format("bad pattern: {}: \"{}\"", *message, text));
    }
    // Closed with "..." once, so that matching need not do it for every path.
    return std::get<ObjectPath>(result).append("...");
}

/// Prints the matching paths of standard input and adds all paths to `paths`.
Counts search(const ObjectPath& pattern, std::vector<ObjectPath>& paths) {
    Counts counts;
    for (std::string line; std::getline(std::cin, line);) {
        ++counts.read;
        const auto result = Tavik::tryParseObjectPath(line);
        if (const auto* message = std::get_if<Tavik::String>(&result)) {
            ++counts.malformed;
            std::cerr << "line " << counts.read << ": " << *message << ": \"" << line << "\"\n";
            continue;
        }
        const ObjectPath& path = paths.emplace_back(std::get<ObjectPath>(result));
        if (path.matchesPattern(pattern)) {
            ++counts.matched;
            std::cout << path << '\n';
        }
    }
    return counts;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fail("usage: objectpath-grep PATTERN < PATHS");
    }
    std::ios::sync_with_stdio(false);
    ObjectPath pattern = parsePattern(argv[1]);
    std::vector<ObjectPath> paths;
    const Counts counts = search(pattern, paths);
    if (std::cin.bad()) {
        fail("cannot read standard input");
    }
    if (!std::cout.flush()) {
        fail("cannot write standard output");
    }

    // Without the pattern, the tables hold exactly the nodes of the paths that were read.
    pattern = ObjectPath();
    std::cerr << fmt::format("{} read, {} malformed, {} matched; distinct nodes: {} segments, {} values\n", counts.read,
                             counts.malformed, counts.matched, Tavik::Impl::inspectSegmentTable().size(),
                             Tavik::Impl::inspectValueTable().size());
    return counts.matched > 0 ? foundStatus : nothingFoundStatus;
}
