// How long an operation can take, and other threads wait, because a table moves its entries while its lock is held.
//
// - growth: the table of segments grows until it has a million entries.
// - turnover: of 800,000 entries, one comes and one goes with each operation. Erased entries leave marks, which fill
//   the table until it drops them or grows.
//
// The first in elapsed time, the second in CPU time, because in a million operations some are interrupted. Both are on
// memory that the process touches for the first time.

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <string>
#include <vector>

#include "NewProcess.h"
#include "Registration.h"

namespace Benchmarks {
namespace {

struct Pause {
    std::size_t entries = 0;
    double seconds = 0;
};

using Pauses = std::array<Pause, 4>;

constexpr std::size_t livingCount = 800'000;
constexpr std::size_t operationCount = 1'000'000;

std::string numberedText(std::size_t number) {
    return "/port-" + std::to_string(number);
}

/// Of the last growths of the table.
Pauses measureGrowth() {
    Pauses pauses;
    std::vector<Tavik::ObjectPath> paths;
    paths.reserve(1'000'000);
    const auto& table = Tavik::Impl::inspectSegmentTable();
    while (paths.size() < paths.capacity()) {
        const std::string text = numberedText(paths.size());
        const std::size_t capacity = table.capacity();
        const auto start = std::chrono::steady_clock::now();
        paths.push_back(pathOf<Ours>(text));
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        if (table.capacity() != capacity) {
            std::rotate(pauses.begin(), pauses.begin() + 1, pauses.end());
            pauses.back() = {table.size(), elapsed.count()};
        }
    }
    return pauses;
}

double cpuSecondsOfThread() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The longest operation, of the first million and of the next one.
using Turnover = std::array<double, 2>;

Turnover measureTurnover() {
    std::vector<Tavik::ObjectPath> paths;
    for (std::size_t i = 0; i < livingCount; ++i) {
        paths.push_back(pathOf<Ours>(numberedText(i)));
    }
    Turnover longest{};
    std::size_t number = livingCount;
    for (double& seconds : longest) {
        for (const std::size_t end = number + operationCount; number < end; ++number) {
            const std::string text = numberedText(number);
            const double start = cpuSecondsOfThread();
            paths[number % livingCount] = pathOf<Ours>(text);
            seconds = std::max(seconds, cpuSecondsOfThread() - start);
        }
    }
    return longest;
}

template <typename Measure>
void addTurnover(benchmark::State& state, const std::string& name, Measure measure) {
    const Turnover longest = inNewProcess(measure);
    state.counters[name] = longest[0];
    state.counters[name + "_later"] = longest[1];
}

template <typename Path>
concept CanReserve = requires {
    Path::reserve(livingCount, livingCount);
};

/// The same with room for twice as many entries. Comparisons are built with libraries that cannot reserve, too.
template <typename Path>
void addReservedTurnover(benchmark::State& state) {
    if constexpr (CanReserve<Path>) {
        addTurnover(state, "turnover_reserved", [] {
            Path::reserve(2 * livingCount, 0);
            return measureTurnover();
        });
    }
}

}  // namespace

void addPauses() {
    PeerList<Ours>::add(
        "pauses", "",
        []<typename Peer>(benchmark::State& state) {
            for ([[maybe_unused]] const auto iteration : state) {
                for (const auto& [entries, seconds] : inNewProcess(measureGrowth)) {
                    state.counters["growth_" + std::to_string(entries)] = seconds;
                }
                addTurnover(state, "turnover", measureTurnover);
                addReservedTurnover<typename Peer::Path>(state);
            }
        },
        [](benchmark::internal::Benchmark* benchmark) { benchmark->Iterations(1)->Unit(benchmark::kMillisecond); });
}

}  // namespace Benchmarks
