// What every value type does: copies, comparisons, hashes and look-ups.

#include <vector>

#include <absl/container/flat_hash_set.h>

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

template <typename Peer>
struct Hash {
    std::size_t operator()(const typename Peer::Path& path) const { return Peer::hash(path); }
};

void addWork(const std::string& suffix, const char* text, auto peers) {
    peers.add("copy_destroy" + suffix, [text]<typename Peer>(benchmark::State& state) {
        const auto path = Peer::path(text);
        measure(state, [&] { return typename Peer::Path(path); });
    });
    peers.add("equality" + suffix, [text]<typename Peer>(benchmark::State& state) {
        auto left = Peer::path(text);
        auto right = Peer::path(text);
        measure(state, [&] {
            benchmark::DoNotOptimize(left);
            benchmark::DoNotOptimize(right);
            return left == right;
        });
    });
    peers.add("hash" + suffix, [text]<typename Peer>(benchmark::State& state) {
        auto path = Peer::path(text);
        measure(state, [&] {
            benchmark::DoNotOptimize(path);
            return Peer::hash(path);
        });
    });
}

}  // namespace

void addValues() {
    addWork("", Texts::sixSegments, PathPeers());
    addWork("_names", Texts::sixNames, AllPeers());

    PathPeers::add("set_lookup_1000", []<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(Texts::threeSegments);
        std::vector<typename Peer::Path> paths;
        for (int i = 0; i < 1000; ++i) {
            paths.push_back(Peer::append(base, "lane-" + std::to_string(i)));
        }
        const absl::flat_hash_set<typename Peer::Path, Hash<Peer>> set(paths.begin(), paths.end());
        std::size_t next = 0;
        measure(state, [&] {
            next = (next + 617) % paths.size();
            return set.contains(paths[next]);
        });
    });
}

}  // namespace Benchmarks
