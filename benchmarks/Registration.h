/// @file
/// Registers one piece of work for several peers, under names such as append_hit_2/by_hand.

#pragma once

#include <string>

#include <benchmark/benchmark.h>

#include "Peers.h"

namespace Benchmarks {

template <typename... Members>
struct PeerList {
    /// Calls `configure` with each registered benchmark.
    template <typename Function, typename Configure>
    static void add(const std::string& work, Function function, Configure configure) {
        (configure(benchmark::RegisterBenchmark(
             (work + '/' + Members::label).c_str(),
             [function](benchmark::State& state) { function.template operator()<Members>(state); })),
         ...);
    }

    template <typename Function>
    static void add(const std::string& work, Function function) {
        add(work, function, [](benchmark::internal::Benchmark*) {});
    }
};

using PathPeers = PeerList<Ours, ByHand, ByHandFlat, Flyweight>;
using TextPeers = PeerList<Ours, ByHand, ByHandPlain, ByHandFlat, Flyweight>;
/// For paths without attributes.
using AllPeers = PeerList<Ours, ByHand, ByHandFlat, Flyweight, Filesystem>;
using AllTextPeers = PeerList<Ours, ByHand, ByHandPlain, ByHandFlat, Flyweight, Filesystem>;

/// Measures `work` once an iteration and keeps its result alive.
template <typename Work>
void measure(benchmark::State& state, Work work) {
    for ([[maybe_unused]] const auto iteration : state) {
        auto result = work();
        benchmark::DoNotOptimize(result);
    }
}

/// Ends the process with a message when the peers do not read, write and match alike.
void requireAgreement();

void addParsing();
void addAppending();
void addValues();
void addNavigation();
void addWriting();
void addMatching();
void addKeeping();
void addThreads();
void addFloors();

}  // namespace Benchmarks
