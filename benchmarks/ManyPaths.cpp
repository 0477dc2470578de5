// Many paths at once: parsed, used and released as by a program that holds the objects of a system.
//
// - files: the paths of the files of a system.
// - files_attributes: the same with attributes such as [mode=644][size=2044][user=root] at the leaf.
// - kept_values, kept_names: paths that differ in a value, or in a name and a value.
//
// Two threads work on one half of the paths each, the first half and the second; each half is shuffled separately.
// Every measurement runs in a newly forked process: tables never shrink, so a second measurement in one process would
// find them grown.

#include <malloc.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <new>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include <absl/container/flat_hash_set.h>
#include <fmt/format.h>

#include "Registration.h"

namespace Benchmarks {
namespace {

using Texts = std::vector<std::string>;

enum Step : std::size_t { load, bytes, again, shuffled, copy, insert, lookUp, sort, match, print, release, stepCount };
constexpr std::array<const char*, stepCount> stepNames = {"load",    "bytes", "again", "shuffled", "copy",   "insert",
                                                          "look_up", "sort",  "match", "print",    "release"};

/// The results of one process.
struct Report {
    std::array<double, stepCount> figures{};  // for each path; 0 if not measured
    double nodes = 0;                         // new nodes for each path, of ours
    std::uint64_t checksum = 0;               // of the results, which must be the same for all peers
};

/// CPU time of the process with one thread, elapsed time with more.
double seconds(std::size_t threads) {
    timespec time{};
    clock_gettime(threads == 1 ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

template <typename Peer>
class Run {
public:
    Run(const Texts& texts, std::size_t threads) : count_(static_cast<double>(texts.size())), parts_(threads) {
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

    /// Without patterns, only parses and releases all paths.
    Report report(const std::vector<const char*>& patterns) {
        keep();
        if (!patterns.empty()) {
            parseAgain();
            collect();
            query(patterns);
        }
        time(release, [](Part& part) { part.paths.clear(); });
        for (const Part& part : parts_) {
            report_.checksum += part.checksum;
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

        void note(std::uint64_t result) { checksum = checksum * 31 + result; }
    };

    /// Measures `work` on all parts, each in a thread of its own.
    template <typename Work>
    void time(Step step, Work work) {
        const double start = seconds(parts_.size());
        std::vector<std::thread> others;
        for (std::size_t i = 1; i < parts_.size(); ++i) {
            others.emplace_back([&, i] { work(parts_[i]); });
        }
        work(parts_.front());
        for (std::thread& other : others) {
            other.join();
        }
        report_.figures[step] = (seconds(parts_.size()) - start) / count_ * 1e9;
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
        if constexpr (std::is_same_v<Peer, Ours>) {
            report_.nodes = static_cast<double>(Tavik::Impl::inspectSegmentTable().size() +
                                                Tavik::Impl::inspectValueTable().size()) /
                            count_;
        }
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
                part.note(path.toString().size());
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

/// The result of `work` in a new process.
template <typename Work>
Report inNewProcess(Work work) {
    void* const shared = mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(shared != MAP_FAILED, "a new process", "mmap");
    const pid_t child = fork();
    if (child == 0) {
        // As in main: the child has one thread again.
        std::thread([] {}).join();
        new (shared) Report(work());
        _exit(EXIT_SUCCESS);
    }
    int status = EXIT_FAILURE;
    require(waitpid(child, &status, 0) == child && status == EXIT_SUCCESS, "a new process", "its exit status");
    const Report report = *static_cast<const Report*>(shared);
    munmap(shared, sizeof(Report));
    return report;
}

/// Ends the process with a message unless all peers have the same checksum for a piece of work.
void requireSameChecksum(std::uint64_t checksum, const char* peer, const std::string& work) {
    static std::map<std::string, std::uint64_t> first;
    require(first.try_emplace(work, checksum).first->second == checksum, peer, work);
}

/// The floors of all steps, computed from the average path of these texts.
Floor floorOf(const Texts& texts, double newNodes) {
    double size = 0;
    double segments = 0;
    double attributes = 0;
    for (const std::string& text : texts) {
        size += static_cast<double>(text.size());
        segments += static_cast<double>(std::count(text.begin(), text.end(), '/'));
        attributes += static_cast<double>(std::count(text.begin(), text.end(), '['));
    }
    const auto count = static_cast<double>(texts.size());
    const std::string find =
        fmt::format("{0:.1f} byte + {1:.2f} hash + {1:.2f} compare", size / count, (segments + attributes) / count);
    return fmt::format(
        "load: {find} + {nodes:.2f} copy + {half:.2f} allocation + {nodes:.2f} atomic; again: {find} + 4 atomic; "
        "shuffled: {find} + 4 atomic; copy: 2 atomic; insert: 1 pointer_hash + 2 atomic; look_up: 1 pointer_hash; "
        "sort: {log:.1f} compare; match: {segments:.2f} link + 3 compare; "
        "print: {size:.1f} byte + {segments:.2f} link + 1 allocation; release: {half:.2f} allocation + {nodes:.2f} "
        "atomic",
        fmt::arg("find", find), fmt::arg("nodes", newNodes), fmt::arg("half", newNodes / 2),
        fmt::arg("log", std::log2(count)), fmt::arg("segments", segments / count), fmt::arg("size", size / count));
}

/// Registers one piece of work. `makeTexts` is called for each measurement.
void addPaths(const std::string& work,
              std::size_t threads,
              const std::vector<const char*>& patterns,
              const std::function<Texts()>& makeTexts) {
    const auto run = [=]<typename Peer>(benchmark::State& state) {
        const Texts texts = makeTexts();
        for ([[maybe_unused]] const auto iteration : state) {
            const Report report = inNewProcess([&] { return Run<Peer>(texts, threads).report(patterns); });
            requireSameChecksum(report.checksum, Peer::label, work);
            state.SetIterationTime(report.figures[load] * 1e-9 * static_cast<double>(texts.size()));
            for (std::size_t step = 0; step < stepCount; ++step) {
                if (report.figures[step] != 0 && (step != bytes || threads == 1)) {
                    state.counters[stepNames[step]] = report.figures[step];
                }
            }
            if (std::is_same_v<Peer, Ours> && threads == 1) {
                state.SetLabel(floorOf(texts, report.nodes));
            }
        }
    };
    PathPeers::add(work, "", run, [](benchmark::internal::Benchmark* benchmark) {
        benchmark->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
    });
}

/// Each line of the list is mode, size, user and path, separated by tabs.
Texts textsOfFiles(const std::string& fileList, bool withAttributes) {
    Texts texts;
    std::ifstream lines(fileList);
    std::string mode, size, user, path;
    while (std::getline(lines, mode, '\t') && std::getline(lines, size, '\t') && std::getline(lines, user, '\t') &&
           std::getline(lines, path)) {
        std::string& text = texts.emplace_back();
        for (const char character : path) {
            text.append(character == '[' || character == '\\' ? 1 : 0, '\\').push_back(character);
        }
        if (withAttributes) {
            text += fmt::format("[mode={}][size={}][user={}]", mode, size, user);
        }
    }
    require(!texts.empty(), "no files in the list", fileList);
    return texts;
}

Texts numberedTexts(bool namesDiffer) {
    Texts texts;
    for (int i = 0; i < 150'000; ++i) {
        texts.push_back(fmt::format("/site/port{}[id={}]", namesDiffer ? std::to_string(i) : "", i));
    }
    return texts;
}

}  // namespace

void addManyPaths(const std::string& fileList) {
    const std::vector<const char*> patterns = {"/usr/share/doc/*/copyright", "/.../include/.../*",
                                               "/usr/.../__init__.py"};
    const std::vector<const char*> patternsWithAttributes = {"/usr/share/doc/*/copyright[user=root]",
                                                             "/.../include/.../*", "/usr/.../__init__.py[mode=644]"};
    for (const std::size_t threads : {1U, 2U}) {
        const std::string suffix = threads == 1 ? "" : "_2_threads";
        if (!fileList.empty()) {
            addPaths("files" + suffix, threads, patterns, [fileList] { return textsOfFiles(fileList, false); });
            addPaths("files_attributes" + suffix, threads, patternsWithAttributes,
                     [fileList] { return textsOfFiles(fileList, true); });
        }
    }
    addPaths("kept_values", 1, {}, [] { return numberedTexts(false); });
    addPaths("kept_names", 1, {}, [] { return numberedTexts(true); });
}

}  // namespace Benchmarks
