// Appending a segment to a path of three segments. "hit": the result exists already; "miss": it does not.

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

template <typename Attributes>
Attributes twoAttributes() {
    return {{"speed", "10000"}, {"vlan", "7"}};
}

}  // namespace

void addAppending() {
    PathPeers::add("append_hit_0", []<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(Texts::threeSegments);
        const auto alive = Peer::append(base, "lane");
        measure(state, [&] { return Peer::append(base, "lane"); });
    });
    PathPeers::add("append_miss_0", []<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(Texts::threeSegments);
        measure(state, [&] { return Peer::append(base, "lane"); });
    });
    PathPeers::add("append_hit_2", []<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(Texts::threeSegments);
        const auto attributes = twoAttributes<typename Peer::Attributes>();
        const auto alive = Peer::append(base, "lane", attributes);
        measure(state, [&] { return Peer::append(base, "lane", attributes); });
    });
    PathPeers::add("append_miss_2", []<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(Texts::threeSegments);
        const auto attributes = twoAttributes<typename Peer::Attributes>();
        measure(state, [&] { return Peer::append(base, "lane", attributes); });
    });
    AllPeers::add("append_hit_0_to_names", []<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(Texts::sixNames);
        const auto alive = Peer::append(base, "lane");
        measure(state, [&] { return Peer::append(base, "lane"); });
    });
}

}  // namespace Benchmarks
