/// @file
/// Registers one piece of work for several peers, under names such as append_hit_2/by_hand.

#pragma once

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include "Steps.h"
#include "peers/Peers.h"

namespace Benchmarks {

/// The steps that no implementation with interning can avoid, as a sum of rows of Floors.cpp: "2 hash + 4 atomic".
/// Empty where the work is itself no more than such a step.
using Floor = std::string;

template <typename... Members>
struct PeerList {
    /// Calls `configure` with each registered benchmark.
    template <typename Function, typename Configure>
    static void add(const std::string& work, const Floor& floor, Function function, Configure configure) {
        (addMember<Members>(work, floor, function, configure), ...);
    }

    template <typename Function>
    static void add(const std::string& work, const Floor& floor, Function function) {
        add(work, floor, function, [](benchmark::internal::Benchmark*) {});
    }

private:
    template <typename Member, typename Function, typename Configure>
    static void addMember(const std::string& work, const Floor& floor, Function function, Configure configure) {
        const std::string name = work + '/' + Member::label;
        const auto run = [name, floor, function](benchmark::State& state) {
            if (std::is_base_of_v<Ours, Member>) {
                state.SetLabel(floor);
            }
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

using PathPeers = PeerList<Ours, ByHand, ByHandFlat, Flyweight, Text>;

/// Measures `work` once per iteration, with a result that is not optimised away. Under callgrind, counts only its
/// instructions.
template <typename Work>
void measure(benchmark::State& state, Work work) {
    CALLGRIND_TOGGLE_COLLECT;
    for ([[maybe_unused]] const auto iteration : state) {
        auto result = work();
        benchmark::DoNotOptimize(result);
    }
    CALLGRIND_TOGGLE_COLLECT;
}

/// Adds a counter for each step that was measured: its key, and `suffix`.
inline void addCounters(benchmark::State& state, const Figures& figures, const std::string& suffix = "") {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (figures[i] != 0) {
            state.counters[std::string(steps[i].key) + suffix] = figures[i];
        }
    }
}

/// Ends the process with a message unless all peers read, write and match in the same way.
void requireAgreement();

/// Ends the process with a message about `subject` and `detail` unless `holds`.
void require(bool holds, std::string_view subject, std::string_view detail);

void addPauses();
void addOnePath();
/// `fileList` is the name of a file as scripts/benchmark writes it; empty for none.
void addManyPaths(const std::string& fileList);
/// `fileList` as in `addManyPaths`.
void addPatterns(const std::string& fileList);
/// `fileList` as in `addManyPaths`.
void addTwoThreads(const std::string& fileList);
void addFloors();

}  // namespace Benchmarks
