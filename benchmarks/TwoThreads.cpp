// The same work by one thread and by two: how many times as much do two get done?
//
// The paths are those of the files of a system. Of two threads, each works on one half of them; only in the step
// "same", both work on all, from opposite ends. Except for loading and releasing, equal paths are alive during the
// whole work.
//
// Every measurement runs in a newly forked process, in which one thread and two take turns. A figure is the elapsed
// time for each path that any of the threads has handled, the least of all rounds.

#include <algorithm>
#include <array>
#include <barrier>
#include <chrono>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <fmt/format.h>

#include "Heap.h"
#include "NewProcess.h"
#include "Registration.h"
#include "Steps.h"
#include "TextList.h"

namespace Benchmarks {
namespace {

constexpr std::size_t mostThreads = 2;
constexpr int roundCount = 3;

/// From when the first thread begins until the last one ends. Each calls `work` with its number.
template <typename Work>
double elapsedSeconds(std::size_t threads, Work work) {
    using Clock = std::chrono::steady_clock;
    std::vector<Clock::time_point> begin(threads);
    std::vector<Clock::time_point> end(threads);
    std::barrier start(static_cast<std::ptrdiff_t>(threads));
    std::vector<std::thread> running;
    for (std::size_t i = 0; i < threads; ++i) {
        running.emplace_back([&, i] {
            start.arrive_and_wait();
            begin[i] = Clock::now();
            work(i);
            end[i] = Clock::now();
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    const std::chrono::duration<double> elapsed = *std::ranges::max_element(end) - *std::ranges::min_element(begin);
    return elapsed.count();
}

/// The share of one thread.
template <typename T>
std::span<T> part(std::vector<T>& all, std::size_t thread, std::size_t threads) {
    const std::size_t begin = all.size() * thread / threads;
    return std::span<T>(all).subspan(begin, all.size() * (thread + 1) / threads - begin);
}

template <typename Peer>
class Comparison {
public:
    /// By the number of threads, from one.
    using Result = std::array<Figures, mostThreads>;

    explicit Comparison(const TextList& texts) : inOrder_(texts.begin(), texts.end()), shuffled_(inOrder_) {
        std::shuffle(shuffled_.begin(), shuffled_.end(), std::mt19937(1));
        for (std::size_t i = 0; i < texts.size(); ++i) {
            newTexts_.push_back(fmt::format("/new/x{}/y", i));
        }
        new_.assign(newTexts_.begin(), newTexts_.end());
        mixed_ = shuffled_;
        for (std::size_t i = 0; i < mixed_.size(); i += 10) {
            mixed_[i] = new_[i];
        }
    }

    Result result() {
        keepReleasedMemory();
        elapsedSeconds(mostThreads, [this](std::size_t) { touchHeap(inOrder_.size() * 1024); });
        std::transform(inOrder_.begin(), inOrder_.end(), std::back_inserter(kept_), pathOf<Peer>);
        forAllRounds([this](std::size_t threads) {
            parse(step("again"), threads, inOrder_);
            parse(step("shuffled"), threads, shuffled_);
            parse(step("mixed"), threads, mixed_);
            parse(step("create"), threads, new_);
            parseSame(threads);
            match(threads);
        });
        kept_.clear();
        forAllRounds([this](std::size_t threads) { loadAndRelease(threads); });
        return result_;
    }

private:
    using Path = typename Peer::Path;
    using Views = std::vector<std::string_view>;

    template <typename Round>
    static void forAllRounds(Round round) {
        for (int i = 0; i < roundCount; ++i) {
            for (std::size_t threads = 1; threads <= mostThreads; ++threads) {
                round(threads);
            }
        }
    }

    /// Each thread calls `work` with its number; together, they handle `count` paths.
    template <typename Work>
    void time(std::size_t index, std::size_t threads, std::size_t count, Work work) {
        double& figure = result_[threads - 1][index];
        const double now = elapsedSeconds(threads, work) / static_cast<double>(count) * 1e9;
        figure = figure == 0 ? now : std::min(figure, now);
    }

    void parse(std::size_t index, std::size_t threads, Views& texts) {
        time(index, threads, texts.size(), [&](std::size_t thread) {
            for (const std::string_view text : part(texts, thread, threads)) {
                benchmark::DoNotOptimize(Peer::parse(text));
            }
        });
    }

    void parseSame(std::size_t threads) {
        time(step("same"), threads, shuffled_.size() * threads, [this](std::size_t thread) {
            const auto parseAll = [](auto begin, auto end) {
                std::for_each(begin, end, [](std::string_view text) { benchmark::DoNotOptimize(Peer::parse(text)); });
            };
            if (thread == 0) {
                parseAll(shuffled_.begin(), shuffled_.end());
            } else {
                parseAll(shuffled_.rbegin(), shuffled_.rend());
            }
        });
    }

    void match(std::size_t threads) {
        const std::array patterns = {pathOf<Peer>("/usr/share/doc/*/copyright"), pathOf<Peer>("/.../include/.../*"),
                                     pathOf<Peer>("/usr/.../__init__.py")};
        time(step("match"), threads, kept_.size(), [&](std::size_t thread) {
            for (const Path& path : part(kept_, thread, threads)) {
                for (const Path& pattern : patterns) {
                    benchmark::DoNotOptimize(path.matchesPattern(pattern));
                }
            }
        });
    }

    /// No equal path is alive before or after.
    void loadAndRelease(std::size_t threads) {
        std::vector<std::vector<Path>> loaded(threads);
        for (std::vector<Path>& paths : loaded) {
            paths.reserve(inOrder_.size());
        }
        time(step("load"), threads, inOrder_.size(), [&](std::size_t thread) {
            std::ranges::transform(part(inOrder_, thread, threads), std::back_inserter(loaded[thread]), pathOf<Peer>);
        });
        time(step("release"), threads, inOrder_.size(), [&](std::size_t thread) { loaded[thread].clear(); });
    }

    TextList newTexts_;
    Views inOrder_, shuffled_, new_, mixed_;
    std::vector<Path> kept_;
    Result result_{};
};

}  // namespace

void addTwoThreads(const std::string& fileList) {
    if (fileList.empty()) {
        return;
    }
    PathPeers::add(
        "files_threads", "",
        [fileList]<typename Peer>(benchmark::State& state) {
            const TextList texts = textsOfFiles(fileList, false);
            for ([[maybe_unused]] const auto iteration : state) {
                const auto result = inNewProcess([&] { return Comparison<Peer>(texts).result(); });
                addCounters(state, result[0]);
                addCounters(state, result[1], "_2_threads");
            }
        },
        [](benchmark::internal::Benchmark* benchmark) { benchmark->Iterations(1)->Unit(benchmark::kMillisecond); });
}

}  // namespace Benchmarks
