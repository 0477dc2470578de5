// Many patterns: which of them select a path? Asked for 500 paths, evenly spread over the files of a system.
//
// - files_patterns_N: N patterns in a set; for the peer by hand, which has none, in a loop.
// - files_patterns_N_loop: N patterns in a loop.
//
// A quarter of the patterns each: the path of a file, "..." and its last two names, its path with "*" for the folder,
// and its folder.

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Registration.h"
#include "TextList.h"

// Comparisons are built with libraries that have no sets of patterns, too.
#if __has_include(<Tavik/ObjectPath/PatternSet.h>)
#include <Tavik/ObjectPath/PatternSet.h>

namespace Benchmarks {
namespace {

using Only = PeerList<Ours>;
using OursAndByHand = PeerList<Ours, ByHand>;

constexpr std::size_t sampleSize = 500;

TextList sampleOf(const TextList& texts) {
    TextList sample;
    for (std::size_t i = 0; i < sampleSize; ++i) {
        sample.push_back(texts[texts.size() * i / sampleSize]);
    }
    return sample;
}

/// `text` has at least three segments.
std::string patternOf(const std::string& text, std::size_t kind) {
    const std::size_t leaf = text.rfind('/');
    const std::size_t folder = text.rfind('/', leaf - 1);
    const std::array<std::string, 4> kinds = {text, "/..." + text.substr(folder),
                                              text.substr(0, folder) + "/*" + text.substr(leaf), text.substr(0, leaf)};
    return kinds[kind];
}

TextList patternsOf(const TextList& texts, std::size_t count) {
    std::mt19937 random(1);
    TextList patterns;
    while (patterns.size() < count) {
        const std::string& text = texts[random() % texts.size()];
        if (std::count(text.begin(), text.end(), '/') > 2) {
            patterns.push_back(patternOf(text, patterns.size() % 4));
        }
    }
    return patterns;
}

template <typename Peer>
std::vector<typename Peer::Path> parseAll(const TextList& texts) {
    std::vector<typename Peer::Path> paths(texts.size());
    std::transform(texts.begin(), texts.end(), paths.begin(), pathOf<Peer>);
    return paths;
}

/// Each iteration counts the patterns that select one path. All peers must find the same number.
template <typename Path, typename Count>
void measureAll(benchmark::State& state, const std::vector<Path>& paths, std::size_t patterns, Count count) {
    std::size_t next = 0;
    std::size_t found = 0;
    measure(state, [&] {
        next = (next + 1) % paths.size();
        return found += count(paths[next]);
    });
    static std::map<std::size_t, double> average;
    const double ours = static_cast<double>(found) / static_cast<double>(state.iterations());
    require(average.try_emplace(patterns, ours).first->second == ours, "matches", fmt::to_string(patterns));
}

template <typename Peer>
void measureLoop(benchmark::State& state, const TextList& texts, std::size_t count) {
    const auto patterns = parseAll<Peer>(patternsOf(texts, count));
    measureAll(state, parseAll<Peer>(sampleOf(texts)), count, [&](const auto& path) {
        return std::count_if(patterns.begin(), patterns.end(),
                             [&](const auto& pattern) { return path.matchesPattern(pattern); });
    });
}

void measureSet(benchmark::State& state, const TextList& texts, std::size_t count) {
    Tavik::ObjectPathPatternSet set;
    for (const Tavik::ObjectPath& pattern : parseAll<Ours>(patternsOf(texts, count))) {
        set.add(pattern);
    }
    std::vector<std::size_t> indexes;
    measureAll(state, parseAll<Ours>(sampleOf(texts)), count, [&](const Tavik::ObjectPath& path) {
        set.match(path, indexes);
        return indexes.size();
    });
}

}  // namespace

void addPatterns(const std::string& fileList) {
    if (fileList.empty()) {
        return;
    }
    for (const std::size_t count : {1U, 10U, 100U, 1'000U, 10'000U}) {
        const auto loop = [=]<typename Peer>(benchmark::State& state) {
            measureLoop<Peer>(state, textsOfFiles(fileList, false), count);
        };
        const auto set = [=]<typename Peer>(benchmark::State& state) {
            if constexpr (std::is_same_v<Peer, Ours>) {
                measureSet(state, textsOfFiles(fileList, false), count);
            } else {
                measureLoop<Peer>(state, textsOfFiles(fileList, false), count);
            }
        };
        // Whole rounds of all paths, because paths differ in cost.
        const auto rounds = [=](std::size_t most) {
            return [=](benchmark::internal::Benchmark* benchmark) {
                benchmark->Iterations(static_cast<std::int64_t>(sampleSize * std::max<std::size_t>(1, most / count)));
            };
        };
        const std::string work = fmt::format("files_patterns_{}", count);
        OursAndByHand::add(work, "", set, rounds(1'000));
        Only::add(work + "_loop", "", loop, rounds(1'000));
    }
}

}  // namespace Benchmarks

#else

void Benchmarks::addPatterns(const std::string&) {}

#endif
