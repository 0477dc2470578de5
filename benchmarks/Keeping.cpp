// Many paths kept at once, and one very long path: time to build and to release, and bytes of memory.
//
// Every measurement runs in a process of its own, forked before any of it happened: tables never shrink, so a second
// measurement in one process would find them grown.

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <vector>

#include "Registration.h"

namespace Benchmarks {
namespace {

struct Cost {
    double buildSeconds;
    double releaseSeconds;
    double bytes;
};

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

/// What it costs to make a value with `build` and to let it go with `release`.
template <typename Build, typename Release>
Cost costOf(Build build, Release release) {
    const double bytesBefore = allocatedBytes();
    const Clock::time_point start = Clock::now();
    auto kept = build();
    Cost cost{};
    cost.buildSeconds = secondsSince(start);
    cost.bytes = allocatedBytes() - bytesBefore;
    const Clock::time_point releaseStart = Clock::now();
    release(kept);
    cost.releaseSeconds = secondsSince(releaseStart);
    return cost;
}

/// The result of `work` in a new process; nothing when that failed.
template <typename Work>
std::optional<Cost> inNewProcess(Work work) {
    int ends[2];
    if (pipe(ends) != 0) {
        return std::nullopt;
    }
    const pid_t child = fork();
    if (child == 0) {
        const Cost cost = work();
        const bool written = write(ends[1], &cost, sizeof cost) == sizeof cost;
        _exit(written ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    close(ends[1]);
    Cost cost{};
    const bool received = child > 0 && read(ends[0], &cost, sizeof cost) == sizeof cost;
    close(ends[0]);
    if (child > 0) {
        waitpid(child, nullptr, 0);
    }
    return received ? std::optional(cost) : std::nullopt;
}

template <typename Work>
void measureOnce(benchmark::State& state, std::size_t count, Work work) {
    for ([[maybe_unused]] const auto iteration : state) {
        const std::optional<Cost> cost = inNewProcess(work);
        if (!cost) {
            state.SkipWithError("the measuring process failed");
            return;
        }
        state.SetIterationTime(cost->buildSeconds);
        const auto perItem = [count](double total) { return total / static_cast<double>(count); };
        state.counters["release_ns_each"] = perItem(cost->releaseSeconds) * 1e9;
        state.counters["build_ns_each"] = perItem(cost->buildSeconds) * 1e9;
        state.counters["bytes_each"] = perItem(cost->bytes);
    }
}

void runOnce(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
}

/// Paths with one attribute each below a common parent. They differ in the value, and in the name if `namesDiffer`.
template <typename Peer>
std::vector<typename Peer::Path> manyPaths(std::size_t count, bool namesDiffer) {
    std::vector<typename Peer::Path> paths;
    paths.reserve(count);
    const typename Peer::Path site = Peer::path("/site");
    std::string name = "port";
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        if (namesDiffer) {
            name.replace(4, std::string::npos, number);
        }
        typename Peer::Attributes attributes;
        attributes.emplace("id", number);
        paths.push_back(Peer::append(site, name, std::move(attributes)));
    }
    return paths;
}

template <typename Peer>
typename Peer::Path longChain(std::size_t length) {
    typename Peer::Path path;
    for (std::size_t i = 0; i < length; ++i) {
        Peer::push(path, "level");
    }
    return path;
}

void addMany(const std::string& work, std::size_t count, bool namesDiffer) {
    const auto keep = [count, namesDiffer]<typename Peer>(benchmark::State& state) {
        measureOnce(state, count, [&] {
            return costOf([&] { return manyPaths<Peer>(count, namesDiffer); }, [](auto& paths) { paths.clear(); });
        });
    };
    PathPeers::add(work + std::to_string(count), keep, runOnce);
}

void addChain(std::size_t length) {
    const auto keep = [length]<typename Peer>(benchmark::State& state) {
        measureOnce(state, length, [&] { return costOf([&] { return longChain<Peer>(length); }, &Peer::release); });
    };
    PathPeers::add("kept_chain_" + std::to_string(length), keep, runOnce);
}

}  // namespace

void addKeeping() {
    for (const std::size_t count : {10'000U, 100'000U, 1'000'000U}) {
        addMany("kept_values_", count, false);
        addMany("kept_names_", count, true);
        addChain(count);
    }
}

}  // namespace Benchmarks
