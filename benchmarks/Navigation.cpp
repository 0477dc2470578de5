// Parents, leaves, prefixes and the segments of a path.

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

/// What reads the names of segments. `Peer::forEachName` and `Peer::leafSize` own what they read where the type's
/// own functions do.
void addReading(const std::string& suffix, const char* text, auto peers) {
    peers.add("leaf" + suffix, [text]<typename Peer>(benchmark::State& state) {
        auto path = Peer::path(text);
        measure(state, [&] {
            benchmark::DoNotOptimize(path);
            return Peer::leafSize(path);
        });
    });
    peers.add("explode_6" + suffix, [text]<typename Peer>(benchmark::State& state) {
        auto path = Peer::path(text);
        measure(state, [&] {
            benchmark::DoNotOptimize(path);
            std::size_t size = 0;
            Peer::forEachName(path, [&size](std::string_view name) { size += name.size(); });
            return size;
        });
    });
}

void addParent(const std::string& suffix, const char* text, auto peers) {
    peers.add("parent" + suffix, [text]<typename Peer>(benchmark::State& state) {
        const auto path = Peer::path(text);
        measure(state, [&] { return Peer::parent(path); });
    });
}

void addPrefixTest(const std::string& suffix, const char* text, auto peers) {
    peers.add("starts_with_8_2" + suffix, [text]<typename Peer>(benchmark::State& state) {
        auto path = Peer::path(text);
        const std::string_view whole = text;
        auto prefix = Peer::path(whole.substr(0, whole.find("/rack")));
        measure(state, [&] {
            benchmark::DoNotOptimize(path);
            benchmark::DoNotOptimize(prefix);
            return Peer::startsWith(path, prefix);
        });
    });
}

}  // namespace

void addNavigation() {
    addParent("", Texts::sixSegments, PathPeers());
    addParent("_names", Texts::sixNames, AllPeers());
    addReading("", Texts::sixSegments, PathPeers());
    addReading("_names", Texts::sixNames, AllPeers());
    addReading("_by_view", Texts::sixSegments, PeerList<OursByView, ByHand>());
    addPrefixTest("", Texts::eightSegments, PathPeers());
    addPrefixTest("_names", Texts::eightNames, AllPeers());
}

}  // namespace Benchmarks
