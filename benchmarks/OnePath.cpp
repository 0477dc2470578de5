// Single operations on one path.

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include <absl/container/flat_hash_set.h>

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

/// The floors of reading and writing a text.
struct TextFloors {
    Floor alive;
    Floor fresh;
    Floor write;
};

/// "alive": an equal path exists, so nothing has to be created; "fresh": none exists.
void addText(const std::string& work, const char* text, const TextFloors& floors) {
    PathPeers::add("parse_alive_" + work, floors.alive, [text]<typename Peer>(benchmark::State& state) {
        const auto alive = Peer::parse(text);
        measure(state, [&] { return Peer::parse(text); });
    });
    PathPeers::add("parse_fresh_" + work, floors.fresh, [text]<typename Peer>(benchmark::State& state) {
        measure(state, [&] { return Peer::parse(text); });
    });
    PathPeers::add("to_string_" + work, floors.write, [text]<typename Peer>(benchmark::State& state) {
        const auto path = pathOf<Peer>(text);
        measure(state, [&] { return path.toString(); });
    });
}

void addTexts() {
    const TextFloors six = {"67 byte + 10 hash + 10 compare + 4 atomic",
                            "67 byte + 10 hash + 14 copy + 10 allocation + 10 atomic",
                            "67 byte + 6 link + 1 allocation"};
    addText("3_2", Texts::threeSegments,
            {"31 byte + 5 hash + 5 compare + 4 atomic", "31 byte + 5 hash + 7 copy + 5 allocation + 5 atomic",
             "31 byte + 3 link"});
    addText("6_4", Texts::sixSegments, six);
    addText("escapes", Texts::escapedSegments, six);
    addText("long_fields", Texts::longFields,
            {"157 byte + 5 hash + 5 compare + 4 atomic", "157 byte + 5 hash + 12 allocation + 5 atomic",
             "157 byte + 3 link + 1 allocation"});
    addText("6_0", Texts::sixNames,
            {"32 byte + 6 hash + 6 compare + 2 atomic", "32 byte + 6 hash + 6 copy + 6 allocation + 6 atomic",
             "32 byte + 6 link + 1 allocation"});
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

/// Parsing by one thread and by two. Items are the texts that all threads parse.
void addThreads(const std::string& work, const Floor& floor, bool sameText, bool keepAlive) {
    const auto parse = [sameText, keepAlive]<typename Peer>(benchmark::State& state) {
        // Texts of different number have no segment and no value in common.
        const std::string n = std::to_string(sameText ? 0 : state.thread_index());
        const std::string text = "/site-" + n + "/rack-" + n + "[row=4" + n + "][slot=11" + n + "]/port-" + n;
        decltype(Peer::parse(text)) alive;
        if (keepAlive) {
            alive = Peer::parse(text);
        }
        measure(state, [&] { return Peer::parse(text); });
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

    const Floor alive = "39 byte + 5 hash + 5 compare + 4 atomic";
    const Floor fresh = "39 byte + 5 hash + 7 copy + 5 allocation + 5 atomic";
    addThreads("threads_parse_alive_same", alive, true, true);
    addThreads("threads_parse_alive_different", alive, false, true);
    addThreads("threads_parse_fresh_same", fresh, true, false);
    addThreads("threads_parse_fresh_different", fresh, false, false);
}

}  // namespace Benchmarks
