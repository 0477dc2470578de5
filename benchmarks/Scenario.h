/// @file
/// What a program does that holds the objects of a system: parses many paths, uses them and releases them.

#pragma once

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <absl/container/flat_hash_set.h>

#include "Heap.h"
#include "Registration.h"
#include "Steps.h"

namespace Benchmarks {

/// The results of one process.
struct Report {
    Figures figures{};
    std::uint64_t checksum = 0;       // of the results, which must be the same for all peers
    std::uint64_t orderChecksum = 0;  // of the results of sorting, the same for peers with the same order
};

/// CPU time of the process.
inline double cpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

inline double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

inline double pageFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_minflt);
}

template <typename Peer>
class Run {
public:
    explicit Run(const std::vector<std::string>& texts)
        : texts_(texts.begin(), texts.end()), shuffled_(texts.size()), count_(static_cast<double>(texts.size())) {
        std::iota(shuffled_.begin(), shuffled_.end(), 0U);
        std::shuffle(shuffled_.begin(), shuffled_.end(), std::mt19937(1));
    }

    /// The step "first_load", and what comes with it.
    Report first() {
        const double faultsBefore = pageFaults();
        keep();
        report_.figures[step("faults")] = (pageFaults() - faultsBefore) / count_;
        report_.figures[step("first_load")] = report_.figures[step("load")];
        return report_;
    }

    /// All other steps; without patterns, only those of parsing.
    Report report(const std::vector<const char*>& patterns) {
        warmUp(patterns.empty() ? 1024 : 4096);
        if (!patterns.empty()) {
            parseStream();
        }
        keep();
        parseAgain();
        if (!patterns.empty()) {
            collect();
            query(patterns);
        }
        time(step("release"), [&] { paths_.clear(); });
        return report_;
    }

private:
    using Path = typename Peer::Path;

    void note(std::uint64_t result) { report_.checksum = report_.checksum * 31 + result; }

    template <typename Work>
    void time(std::size_t index, Work work) {
        const double start = cpuSeconds();
        work();
        report_.figures[index] = (cpuSeconds() - start) / count_ * 1e9;
    }

    /// Prepares for as much as this for each path.
    void warmUp(std::size_t bytesForPath) {
        keepReleasedMemory();
        touchHeap(std::max(texts_.size() * bytesForPath, std::size_t{1} << 24U));
        std::for_each_n(texts_.begin(), std::min<std::size_t>(texts_.size(), 1000), pathOf<Peer>);
    }

    void keep() {
        const double bytesBefore = allocatedBytes();
        time(step("load"), [&] {
            paths_.reserve(texts_.size());
            for (const std::string_view text : texts_) {
                paths_.push_back(pathOf<Peer>(text));
            }
        });
        report_.figures[step("bytes")] = (allocatedBytes() - bytesBefore) / count_;
    }

    /// Paths that are used one after the other. Of those that share their parents, each finds the nodes of the one
    /// before it, if that is still there.
    void parseStream() {
        time(step("stream"), [&] {
            for (const std::string_view text : texts_) {
                benchmark::DoNotOptimize(Peer::parse(text));
            }
        });
        time(step("stream_kept"), [&] {
            Path last;
            for (const std::string_view text : texts_) {
                last = pathOf<Peer>(text);
            }
            benchmark::DoNotOptimize(last);
        });
    }

    void parseAgain() {
        time(step("again"), [&] {
            for (const std::string_view text : texts_) {
                benchmark::DoNotOptimize(Peer::parse(text));
            }
        });
        time(step("shuffled"), [&] {
            for (const std::uint32_t index : shuffled_) {
                benchmark::DoNotOptimize(Peer::parse(texts_[index]));
            }
        });
    }

    void collect() {
        std::vector<Path> copies;
        time(step("copy"), [&] {
            copies.reserve(paths_.size());
            for (const std::uint32_t index : shuffled_) {
                copies.push_back(paths_[index]);
            }
        });
        absl::flat_hash_set<Path> set;
        time(step("insert"), [&] { set.insert(paths_.begin(), paths_.end()); });
        time(step("look_up"), [&] {
            for (const Path& path : copies) {
                note(set.contains(path));
            }
        });
        note(set.size());
        // The first version of the library has no order.
        if constexpr (requires(const Path& path) { path < path; }) {
            time(step("sort"), [&] { std::sort(copies.begin(), copies.end()); });
            for (const Path& path : copies) {
                report_.orderChecksum = report_.orderChecksum * 31 + path.toString().size();
            }
        }
    }

    void query(const std::vector<const char*>& patternTexts) {
        std::vector<Path> patterns;
        std::transform(patternTexts.begin(), patternTexts.end(), std::back_inserter(patterns), pathOf<Peer>);
        time(step("match"), [&] {
            for (const Path& path : paths_) {
                for (const Path& pattern : patterns) {
                    note(path.matchesPattern(pattern));
                }
            }
        });
        time(step("print"), [&] {
            for (const Path& path : paths_) {
                note(path.toString().size());
            }
        });
    }

    std::vector<std::string_view> texts_;
    std::vector<std::uint32_t> shuffled_;
    std::vector<Path> paths_;
    double count_;
    Report report_;
};

}  // namespace Benchmarks
