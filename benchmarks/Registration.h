/// @file
/// Registers one piece of work for several peers, under names such as append_hit_2/by_hand.

#pragma once

#include <string>

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include "Peers.h"

namespace Benchmarks {

template <typename... Members>
struct PeerList {
    /// Calls `configure` with each registered benchmark.
    template <typename Function, typename Configure>
    static void add(const std::string& work, Function function, Configure configure) {
        (addMember<Members>(work + '/' + Members::label, function, configure), ...);
    }

    template <typename Function>
    static void add(const std::string& work, Function function) {
        add(work, function, [](benchmark::internal::Benchmark*) {});
    }

private:
    template <typename Member, typename Function, typename Configure>
    static void addMember(const std::string& name, Function function, Configure configure) {
        const auto run = [name, function](benchmark::State& state) {
            function.template operator()<Member>(state);
            const std::string dump = name + '/' + std::to_string(state.iterations());
            CALLGRIND_DUMP_STATS_AT(dump.c_str());
        };
        benchmark::internal::Benchmark* const registered = benchmark::RegisterBenchmark(name.c_str(), run);
        configure(registered);
        if (RUNNING_ON_VALGRIND) {
            registered->Iterations(2000);
        }
    }
};

using PathPeers = PeerList<Ours, ByHand, ByHandFlat, Flyweight>;
using TextPeers = PeerList<Ours, ByHand, ByHandPlain, ByHandFlat, Flyweight>;
/// For paths without attributes.
using AllPeers = PeerList<Ours, ByHand, ByHandFlat, Flyweight, Filesystem>;
using AllTextPeers = PeerList<Ours, ByHand, ByHandPlain, ByHandFlat, Flyweight, Filesystem>;

/// Measures `work` once an iteration and keeps its result alive. Under callgrind, counts only its instructions.
template <typename Work>
void measure(benchmark::State& state, Work work) {
    CALLGRIND_TOGGLE_COLLECT;
    for ([[maybe_unused]] const auto iteration : state) {
        auto result = work();
        benchmark::DoNotOptimize(result);
    }
    CALLGRIND_TOGGLE_COLLECT;
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
