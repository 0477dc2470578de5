// Single operations on one path.

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include <absl/container/flat_hash_set.h>
#include <fmt/format.h>

#include "Registration.h"
#include "Texts.h"
#include "peers/TextSyntax.h"

namespace Benchmarks {
namespace {

/// What a string consists of.
struct Content {
    std::size_t bytes = 0;
    std::size_t segments = 0;
    std::size_t attributes = 0;
    std::size_t longFields = 0;  // more than a string holds without an allocation
};

Content contentOf(std::string_view text) {
    Content content{text.size()};
    const auto countLong = [&content](const std::string& field) { content.longFields += field.size() > 15 ? 1U : 0U; };
    SegmentReader reader(text);
    while (!reader.atEnd()) {
        std::string name;
        FlatMap attributes;
        require(reader.next(name, attributes), "floor", text);
        countLong(name);
        for (const auto& [key, value] : attributes) {
            countLong(key);
            countLong(value);
        }
        ++content.segments;
        content.attributes += attributes.size();
    }
    return content;
}

/// Of reading a string whose nodes exist. The result increments and decrements the reference count of each chain.
Floor floorOfFinding(std::string_view text) {
    const Content content = contentOf(text);
    return fmt::format("{0} byte + {1} hash + {1} compare + {2} atomic", content.bytes,
                       content.segments + content.attributes, content.attributes == 0 ? 2 : 4);
}

/// Of reading a string of which no node exists: each node is allocated and owns the next one of its chain.
Floor floorOfCreating(std::string_view text) {
    const Content content = contentOf(text);
    const std::size_t nodes = content.segments + content.attributes;
    return fmt::format("{0} byte + {1} hash + {2} copy + {3} allocation + {1} atomic", content.bytes, nodes,
                       nodes + content.attributes - content.longFields, nodes + content.longFields);
}

Floor floorOfWriting(std::string_view text) {
    const Content content = contentOf(text);
    return fmt::format("{} byte + {} link + {} allocation", content.bytes, content.segments,
                       content.bytes > 15 ? 1 : 0);
}

/// Parses the strings in turn. `keepAlive`: equal paths exist, so nothing has to be created.
template <typename Peer>
void parseInTurn(benchmark::State& state, const std::vector<std::string>& texts, bool keepAlive) {
    std::vector<typename Peer::Path> alive;
    if (keepAlive) {
        std::transform(texts.begin(), texts.end(), std::back_inserter(alive), pathOf<Peer>);
    }
    auto text = texts.begin();
    measure(state, [&] {
        text = text + 1 == texts.end() ? texts.begin() : text + 1;
        return Peer::parse(*text);
    });
}

void addParsing(const std::string& work, const Floor& floor, const std::vector<std::string>& texts, bool keepAlive) {
    PathPeers::add(work, floor, [texts, keepAlive]<typename Peer>(benchmark::State& state) {
        parseInTurn<Peer>(state, texts, keepAlive);
    });
}

/// "alive": equal paths exist; "fresh": no node exists. The next string shares nothing with the one before it.
void addText(const std::string& work, const char* text) {
    addParsing("parse_alive_" + work, floorOfFinding(text), Texts::unrelated(text), true);
    addParsing("parse_fresh_" + work, floorOfCreating(text), Texts::unrelated(text), false);
    PathPeers::add("to_string_" + work, floorOfWriting(text), [text]<typename Peer>(benchmark::State& state) {
        const auto path = pathOf<Peer>(text);
        measure(state, [&] { return path.toString(); });
    });
}

void addTexts() {
    addText("3_2", Texts::threeSegments);
    addText("6_4", Texts::sixSegments);
    addText("escapes", Texts::escapedSegments);
    addText("long_fields", Texts::longFields);
    addText("6_0", Texts::sixNames);
    addParsing("parse_siblings_6_4", "", Texts::siblings(Texts::sixSegments), true);
    addParsing("parse_siblings_leaf_6_4", "", Texts::siblings(Texts::sixSegmentsOfFile), true);
}

/// `keepAlive`: the resulting path exists already. The appended segment has two attributes or none.
void addAppending(const std::string& work, const Floor& floor, int attributeCount, bool keepAlive) {
    PathPeers::add(work, floor, [=]<typename Peer>(benchmark::State& state) {
        const auto base = pathOf<Peer>(Texts::sixSegments);
        const typename Peer::Attributes two = {{"speed", "10000"}, {"vlan", "7"}};
        const auto append = [&] { return attributeCount == 0 ? base.append("lane") : base.append("lane", two); };
        const auto alive = keepAlive ? append() : base;
        measure(state, append);
    });
}

/// Adds `query(peer, path)`, where the peer provides what the members of paths do not cover.
template <typename Peers, typename Query>
void addQuery(const std::string& work, const Floor& floor, Query query) {
    Peers::add(work, floor, [query]<typename Peer>(benchmark::State& state) {
        auto path = pathOf<Peer>(Texts::sixSegments);
        measure(state, [&] {
            benchmark::DoNotOptimize(path);
            return query(Peer(), path);
        });
    });
}

/// Adds `query(left, right)`.
template <typename Query>
void addComparison(const std::string& work,
                   const Floor& floor,
                   const char* leftText,
                   const char* rightText,
                   Query query) {
    PathPeers::add(work, floor, [=]<typename Peer>(benchmark::State& state) {
        auto left = pathOf<Peer>(leftText);
        auto right = pathOf<Peer>(rightText);
        measure(state, [&] {
            benchmark::DoNotOptimize(left);
            benchmark::DoNotOptimize(right);
            return query(left, right);
        });
    });
}

void addQueries() {
    const auto copy = [](auto, const auto& path) { return std::remove_cvref_t<decltype(path)>(path); };
    const auto hash = [](auto, const auto& path) { return absl::HashOf(path); };
    const auto parent = [](auto, const auto& path) { return path.parent(); };
    const auto leaf = [](auto peer, const auto& path) { return peer.leafSize(path); };
    const auto explode = [](auto peer, const auto& path) {
        std::size_t size = 0;
        peer.forEachName(path, [&size](std::string_view name) { size += name.size(); });
        return size;
    };
    addQuery<PathPeers>("copy_destroy", "4 atomic", copy);
    addQuery<PathPeers>("hash", "1 pointer_hash", hash);
    addQuery<PathPeers>("parent", "4 atomic", parent);
    addQuery<PathPeers>("leaf", "4 atomic", leaf);
    addQuery<PathPeers>("explode_6", "24 atomic + 6 link", explode);
    addQuery<PeerList<OursByView>>("explode_6_by_view", "6 link", explode);
    addComparison("equality", "", Texts::sixSegments, Texts::sixSegments, std::equal_to<>());
    addComparison("starts_with_8_2", "6 link", Texts::eightSegments, "/site/hall[floor=2]",
                  [](const auto& path, const auto& prefix) { return path.startsWith(prefix); });
}

void addSetLookup() {
    PathPeers::add("set_lookup_1000", "1 pointer_hash + 2 link", []<typename Peer>(benchmark::State& state) {
        const auto base = pathOf<Peer>(Texts::threeSegments);
        std::vector<typename Peer::Path> paths;
        for (int i = 0; i < 1000; ++i) {
            paths.push_back(base.append("lane-" + std::to_string(i)));
        }
        const absl::flat_hash_set<typename Peer::Path> set(paths.begin(), paths.end());
        std::size_t next = 0;
        measure(state, [&] {
            next = (next + 617) % paths.size();
            return set.contains(paths[next]);
        });
    });
}

void addPattern(const std::string& work, const Floor& floor, const std::string& text, const std::string& patternText) {
    PathPeers::add(work, floor, [text, patternText]<typename Peer>(benchmark::State& state) {
        const auto path = pathOf<Peer>(text);
        const auto pattern = pathOf<Peer>(patternText);
        measure(state, [&] { return path.matchesPattern(pattern); });
    });
}

/// Parsing by one thread and by two, the same strings or other ones. Items are the strings that all threads parse.
void addThreads(const std::string& work, const Floor& floor, bool sameTexts, bool keepAlive) {
    const auto parse = [sameTexts, keepAlive]<typename Peer>(benchmark::State& state) {
        const bool usesOthers = !sameTexts && state.thread_index() > 0;
        parseInTurn<Peer>(state, Texts::unrelated(Texts::threeSegments, usesOthers ? 'A' : 'a'), keepAlive);
        state.SetItemsProcessed(state.iterations());
    };
    PathPeers::add(work, floor, parse,
                   [](benchmark::internal::Benchmark* benchmark) { benchmark->UseRealTime()->Threads(1)->Threads(2); });
}

}  // namespace

void addOnePath() {
    addTexts();
    addAppending("append_hit_0", "1 hash + 1 compare + 4 atomic", 0, true);
    addAppending("append_hit_2", "3 hash + 3 compare + 4 atomic", 2, true);
    // A new node owns the next one of its chain, and every reference is released again.
    addAppending("append_miss_0", "1 hash + 1 copy + 1 allocation + 5 atomic", 0, false);
    addAppending("append_miss_2", "3 hash + 5 copy + 3 allocation + 7 atomic", 2, false);
    addQueries();
    addSetLookup();

    std::string deep;
    for (int i = 0; i < 200; ++i) {
        deep += "/a";
    }
    addPattern("match", "12 link + 8 compare", Texts::sixSegments, Texts::pattern);
    addPattern("match_trailing_dots", "12 link + 8 compare", Texts::sixSegments, std::string(Texts::pattern) + "/...");
    addPattern("match_fails", "9 link + 5 compare", Texts::sixSegments, "/site/*/rack[row=5]");
    addPattern("match_adversarial_200", "200 link + 200 compare", deep, "/.../a/.../a/.../a/.../b");

    const Floor alive = floorOfFinding(Texts::threeSegments);
    const Floor fresh = floorOfCreating(Texts::threeSegments);
    addThreads("threads_parse_alive_same", alive, true, true);
    addThreads("threads_parse_alive_different", alive, false, true);
    addThreads("threads_parse_fresh_same", fresh, true, false);
    addThreads("threads_parse_fresh_different", fresh, false, false);
}

}  // namespace Benchmarks
