/// @file
/// What a program does that holds the objects of a system: parses many paths, uses them and releases them. Two threads
/// work on one half of the paths each, the first half and the second; each half is shuffled separately.

#pragma once

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <absl/container/flat_hash_set.h>

#include "Registration.h"

namespace Benchmarks {

enum Step : std::size_t {
    load,
    bytes,
    again,
    shuffled,
    stream,
    streamKept,
    copy,
    insert,
    lookUp,
    sort,
    match,
    print,
    release,
    firstLoad,
    faults,
    stepCount
};
inline constexpr std::array<const char*, stepCount> stepNames = {
    "load",    "bytes", "again", "shuffled", "stream",  "stream_kept", "copy",  "insert",
    "look_up", "sort",  "match", "print",    "release", "first_load",  "faults"};

/// The results of one process.
struct Report {
    std::array<double, stepCount> figures{};  // for each path; 0 if not measured
    std::uint64_t checksum = 0;               // of the results, which must be the same for all peers
    std::uint64_t orderChecksum = 0;          // of the results of sorting, the same for peers with the same order
};

/// CPU time of the process with one thread, elapsed time with more.
inline double seconds(std::size_t threads) {
    timespec time{};
    clock_gettime(threads == 1 ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
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

/// Touches what is free in the heap of this thread, and lets it grow until that is `size`. Memory must not be given
/// back when it is released.
inline void touchHeap(std::size_t size, bool isMainThread) {
    // Small enough for gaps, whose pages a new process shares with the one that it was forked from.
    constexpr std::size_t blockSize = 4096;
    std::vector<std::unique_ptr<char[]>> blocks(size / blockSize);
    for (std::unique_ptr<char[]>& block : blocks) {
        block = std::make_unique<char[]>(blockSize);
        // The heaps of other threads consist of areas of 64 MiB, which are given back when nothing is left in them.
        if (!isMainThread && (&block - blocks.data()) % 8192 == 0) {
            benchmark::DoNotOptimize(new int);
        }
    }
}

template <typename Peer>
class Run {
public:
    Run(const std::vector<std::string>& texts, std::size_t threads)
        : count_(static_cast<double>(texts.size())), parts_(threads) {
        std::mt19937 random(1);
        for (std::size_t i = 0; i < threads; ++i) {
            Part& part = parts_[i];
            const auto position = [&](std::size_t end) { return texts.data() + texts.size() * end / threads; };
            part.texts.assign(position(i), position(i + 1));
            part.shuffled.resize(part.texts.size());
            std::iota(part.shuffled.begin(), part.shuffled.end(), 0U);
            std::shuffle(part.shuffled.begin(), part.shuffled.end(), random);
        }
    }

    /// The step `firstLoad`, and what comes with it.
    Report first() {
        const double faultsBefore = pageFaults();
        keep();
        report_.figures[faults] = (pageFaults() - faultsBefore) / count_;
        report_.figures[firstLoad] = report_.figures[load];
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
        time(release, [](Part& part) { part.paths.clear(); });
        for (const Part& part : parts_) {
            report_.checksum += part.checksum;
            report_.orderChecksum += part.orderChecksum;
        }
        return report_;
    }

private:
    using Path = typename Peer::Path;

    /// Aligned, so that threads do not share cache lines.
    struct alignas(128) Part {
        std::vector<std::string_view> texts;
        std::vector<std::uint32_t> shuffled;
        std::vector<Path> paths;
        std::vector<Path> copies;
        absl::flat_hash_set<Path> set;
        std::uint64_t checksum = 0;
        std::uint64_t orderChecksum = 0;

        void note(std::uint64_t result) { checksum = checksum * 31 + result; }
    };

    /// Does `work` on all parts, each in a thread of its own.
    template <typename Work>
    void forEachPart(Work work) {
        std::vector<std::thread> others;
        for (std::size_t i = 1; i < parts_.size(); ++i) {
            others.emplace_back([&, i] { work(parts_[i]); });
        }
        work(parts_.front());
        for (std::thread& other : others) {
            other.join();
        }
    }

    template <typename Work>
    void time(Step step, Work work) {
        const double start = seconds(parts_.size());
        forEachPart(work);
        report_.figures[step] = (seconds(parts_.size()) - start) / count_ * 1e9;
    }

    /// Prepares for as much as this for each path.
    void warmUp(std::size_t bytesForPath) {
        mallopt(M_MMAP_MAX, 0);
        mallopt(M_TRIM_THRESHOLD, -1);
        forEachPart([&](Part& part) {
            touchHeap(std::max(part.texts.size() * bytesForPath, std::size_t{1} << 24U), &part == &parts_.front());
            std::for_each_n(part.texts.begin(), std::min<std::size_t>(part.texts.size(), 1000), pathOf<Peer>);
        });
    }

    void keep() {
        const double bytesBefore = allocatedBytes();
        time(load, [](Part& part) {
            part.paths.reserve(part.texts.size());
            for (const std::string_view text : part.texts) {
                part.paths.push_back(pathOf<Peer>(text));
            }
        });
        report_.figures[bytes] = (allocatedBytes() - bytesBefore) / count_;
    }

    /// Paths that are used one after the other. Of those that share their parents, each finds the nodes of the one
    /// before it, if that is still there.
    void parseStream() {
        time(stream, [](Part& part) {
            for (const std::string_view text : part.texts) {
                benchmark::DoNotOptimize(Peer::parse(text));
            }
        });
        time(streamKept, [](Part& part) {
            Path last;
            for (const std::string_view text : part.texts) {
                last = pathOf<Peer>(text);
            }
            benchmark::DoNotOptimize(last);
        });
    }

    void parseAgain() {
        time(again, [](Part& part) {
            for (const std::string_view text : part.texts) {
                benchmark::DoNotOptimize(Peer::parse(text));
            }
        });
        time(shuffled, [](Part& part) {
            for (const std::uint32_t index : part.shuffled) {
                benchmark::DoNotOptimize(Peer::parse(part.texts[index]));
            }
        });
    }

    void collect() {
        time(copy, [](Part& part) {
            part.copies.reserve(part.paths.size());
            for (const std::uint32_t index : part.shuffled) {
                part.copies.push_back(part.paths[index]);
            }
        });
        time(insert, [](Part& part) { part.set.insert(part.paths.begin(), part.paths.end()); });
        time(lookUp, [](Part& part) {
            for (const Path& path : part.copies) {
                part.note(part.set.contains(path));
            }
        });
        time(sort, [](Part& part) { std::sort(part.copies.begin(), part.copies.end()); });
        for (Part& part : parts_) {
            part.note(part.set.size());
            for (const Path& path : part.copies) {
                part.orderChecksum = part.orderChecksum * 31 + path.toString().size();
            }
            part.set = {};
            part.copies = {};
        }
    }

    void query(const std::vector<const char*>& patternTexts) {
        std::vector<Path> patterns;
        std::transform(patternTexts.begin(), patternTexts.end(), std::back_inserter(patterns), pathOf<Peer>);
        time(match, [&](Part& part) {
            for (const Path& path : part.paths) {
                for (const Path& pattern : patterns) {
                    part.note(path.matchesPattern(pattern));
                }
            }
        });
        time(print, [](Part& part) {
            for (const Path& path : part.paths) {
                part.note(path.toString().size());
            }
        });
    }

    double count_;
    std::vector<Part> parts_;
    Report report_;
};

}  // namespace Benchmarks
