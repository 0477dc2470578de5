// Reading paths from text. "alive": an equal path lives, so nothing has to be created; "fresh": none does.

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {

void addParsing() {
    const auto add = [](const std::string& work, const char* text, auto peers) {
        peers.add("parse_alive_" + work, [text]<typename Peer>(benchmark::State& state) {
            const auto alive = Peer::parse(text);
            measure(state, [&] { return Peer::parse(text); });
        });
        peers.add("parse_fresh_" + work, [text]<typename Peer>(benchmark::State& state) {
            measure(state, [&] { return Peer::parse(text); });
        });
    };
    add("3_2", Texts::threeSegments, TextPeers());
    add("6_4", Texts::sixSegments, TextPeers());
    add("long_fields", Texts::longFields, TextPeers());
    add("escapes", Texts::escapedSegments, TextPeers());
    add("6_0", Texts::sixNames, AllTextPeers());
}

}  // namespace Benchmarks
