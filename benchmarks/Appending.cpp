// Appending a segment to a path. "hit": the result exists already; "miss": it does not.

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

enum class Result { alive, absent };

/// Measures appending without attributes.
void addPlain(const std::string& work, const char* text, Result result, auto peers) {
    peers.add(work, [text, result]<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(text);
        const auto alive = result == Result::alive ? Peer::append(base, "lane") : base;
        measure(state, [&] { return Peer::append(base, "lane"); });
    });
}

void addWithTwo(const std::string& work, const char* text, Result result) {
    PathPeers::add(work, [text, result]<typename Peer>(benchmark::State& state) {
        const auto base = Peer::path(text);
        const typename Peer::Attributes attributes = {{"speed", "10000"}, {"vlan", "7"}};
        const auto alive = result == Result::alive ? Peer::append(base, "lane", attributes) : base;
        measure(state, [&] { return Peer::append(base, "lane", attributes); });
    });
}

}  // namespace

void addAppending() {
    addPlain("append_hit_0", Texts::sixSegments, Result::alive, PathPeers());
    addPlain("append_miss_0", Texts::sixSegments, Result::absent, PathPeers());
    addWithTwo("append_hit_2", Texts::sixSegments, Result::alive);
    addWithTwo("append_miss_2", Texts::sixSegments, Result::absent);
    addPlain("append_hit_0_to_3_2", Texts::threeSegments, Result::alive, PathPeers());
    addWithTwo("append_hit_2_to_3_2", Texts::threeSegments, Result::alive);
    addPlain("append_hit_0_names", Texts::sixNames, Result::alive, AllPeers());
}

}  // namespace Benchmarks
