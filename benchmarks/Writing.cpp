// Writing paths as text.

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {

void addWriting() {
    const auto add = [](const std::string& work, const char* text, auto peers) {
        peers.add("to_string_" + work, [text]<typename Peer>(benchmark::State& state) {
            const auto path = Peer::path(text);
            measure(state, [&] { return Peer::toString(path); });
        });
    };
    add("6_4", Texts::sixSegments, TextPeers());
    add("escapes", Texts::escapedSegments, TextPeers());
    add("long_fields", Texts::longFields, TextPeers());
    add("6_0", Texts::sixNames, AllTextPeers());
}

}  // namespace Benchmarks
