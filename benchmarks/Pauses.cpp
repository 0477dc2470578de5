// How long other threads wait while a table grows: its lock is held until all entries have been moved.

#include <algorithm>
#include <array>
#include <chrono>
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

/// Of the last growths of the table of segments until it has a million entries, on memory that the process touches for
/// the first time.
Pauses measurePauses() {
    Pauses pauses;
    std::vector<Tavik::ObjectPath> paths;
    paths.reserve(1'000'000);
    const auto& table = Tavik::Impl::inspectSegmentTable();
    while (paths.size() < paths.capacity()) {
        const std::string text = "/port-" + std::to_string(paths.size());
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

}  // namespace

void addPauses() {
    PeerList<Ours>::add(
        "pauses", "",
        []<typename Peer>(benchmark::State& state) {
            for ([[maybe_unused]] const auto iteration : state) {
                for (const auto& [entries, seconds] : inNewProcess(measurePauses)) {
                    state.counters[std::to_string(entries)] = seconds;
                }
            }
        },
        [](benchmark::internal::Benchmark* benchmark) { benchmark->Iterations(1)->Unit(benchmark::kMillisecond); });
}

}  // namespace Benchmarks
