// Parsing by one thread and by two, the same text or different ones. Items are texts, of all threads together.

#include "Registration.h"

namespace Benchmarks {
namespace {

/// Texts of different number have no segment and no value in common.
std::string numberedText(int number) {
    const std::string n = std::to_string(number);
    return "/site-" + n + "/rack-" + n + "[row=4" + n + "][slot=11" + n + "]/port-" + n;
}

void addWork(const std::string& work, bool sameText, bool keepAlive) {
    const auto parse = [sameText, keepAlive]<typename Peer>(benchmark::State& state) {
        const std::string text = numberedText(sameText ? 0 : state.thread_index());
        decltype(Peer::parse(text)) alive;
        if (keepAlive) {
            alive = Peer::parse(text);
        }
        measure(state, [&] { return Peer::parse(text); });
        state.SetItemsProcessed(state.iterations());
    };
    PathPeers::add(work, parse,
                   [](benchmark::internal::Benchmark* benchmark) { benchmark->UseRealTime()->Threads(1)->Threads(2); });
}

}  // namespace

void addThreads() {
    addWork("threads_parse_alive_same", true, true);
    addWork("threads_parse_alive_different", false, true);
    addWork("threads_parse_fresh_same", true, false);
    addWork("threads_parse_fresh_different", false, false);
}

}  // namespace Benchmarks
