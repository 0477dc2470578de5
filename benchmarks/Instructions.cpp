// Repeats one operation, for counting its instructions:
//
//   objectpath-instructions WORK PEER COUNT

#include <cstdlib>
#include <iostream>
#include <thread>

#include <benchmark/benchmark.h>

#include "Peers.h"
#include "Texts.h"

namespace {

using namespace Benchmarks;

template <typename Work>
bool repeat(long count, Work work) {
    for (long i = 0; i < count; ++i) {
        auto result = work();
        benchmark::DoNotOptimize(result);
    }
    return true;
}

template <typename Peer>
bool run(std::string_view work, long count) {
    const auto path = Peer::path(Texts::sixSegments);
    if (work == "append_hit_0") {
        const auto alive = Peer::append(path, "lane");
        return repeat(count, [&] { return Peer::append(path, "lane"); });
    }
    if (work == "parse_alive_6_4") {
        return repeat(count, [&] { return Peer::parse(Texts::sixSegments); });
    }
    if (work == "to_string_6_4") {
        return repeat(count, [&] { return Peer::toString(path); });
    }
    if (work == "match_closed") {
        const auto pattern = Peer::path(Texts::closedPattern);
        return repeat(count, [&] { return Peer::matches(path, pattern); });
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    // In a process that never had a second thread, shared_ptr counts without atomic operations.
    std::thread([] {}).join();

    const std::string_view peer = argc == 4 ? argv[2] : "";
    const auto selected = peer == Ours::label ? run<Ours> : peer == ByHand::label ? run<ByHand> : nullptr;
    if (selected == nullptr || !selected(argv[1], std::atol(argv[3]))) {
        std::cerr << "usage: objectpath-instructions WORK ours|by_hand COUNT\n";
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
