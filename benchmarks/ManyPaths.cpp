// Many paths at once.
//
// - files: the paths of the files of a system.
// - files_attributes: the same with attributes such as [mode=644][size=2044][user=root] at the leaf.
// - kept_values, kept_names: paths that differ in a value, or in a name and a value.
// - among_N: N paths of four segments, of which a hundred at a time are siblings.
//
// Every measurement runs in a newly forked process, with tables that nothing has filled before. Its heap has been
// touched, as in a program that has run for a while: what a page fault costs depends on the computer far more than what
// the work costs. Only the step first_load uses untouched memory, and counts the page faults.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include <fmt/format.h>

#include "NewProcess.h"
#include "Registration.h"
#include "Scenario.h"
#include "TextList.h"

namespace Benchmarks {
namespace {

/// Ends the process with a message unless all peers have the same checksum for a piece of work.
void requireSameChecksum(std::uint64_t checksum, const char* peer, const std::string& work) {
    static std::map<std::string, std::uint64_t> first;
    require(first.try_emplace(work, checksum).first->second == checksum, peer, work);
}

/// Registers one piece of work. `makeTexts` is called for each measurement.
template <typename Peers = PathPeers>
void addPaths(const std::string& work,
              const std::vector<const char*>& patterns,
              const std::function<TextList()>& makeTexts) {
    const auto run = [=]<typename Peer>(benchmark::State& state) {
        const TextList texts = makeTexts();
        for ([[maybe_unused]] const auto iteration : state) {
            Report report = inNewProcess([&] { return Run<Peer>(texts).report(patterns); });
            requireSameChecksum(report.checksum, Peer::label, work);
            requireSameChecksum(report.orderChecksum, Peer::label,
                                work + (std::is_same_v<Peer, Text> ? ", strings" : ", segments"));
            state.SetIterationTime(report.figures[step("load")] * 1e-9 * static_cast<double>(texts.size()));
            if (!patterns.empty()) {
                const Report first = inNewProcess([&] { return Run<Peer>(texts).first(); });
                for (const std::size_t index : {step("first_load"), step("faults")}) {
                    report.figures[index] = first.figures[index];
                }
            }
            addCounters(state, report.figures);
        }
    };
    Peers::add(work, "", run, [](benchmark::internal::Benchmark* benchmark) {
        benchmark->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
    });
}

/// `count` strings, one for each number.
template <typename Number>
TextList numberedTexts(int count, Number textOf) {
    TextList texts(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        texts[static_cast<std::size_t>(i)] = textOf(i);
    }
    return texts;
}

void addFiles(const std::string& fileList) {
    const std::vector<const char*> patterns = {"/usr/share/doc/*/copyright", "/.../include/.../*",
                                               "/usr/.../__init__.py"};
    const std::vector<const char*> patternsWithAttributes = {"/usr/share/doc/*/copyright[user=root]",
                                                             "/.../include/.../*", "/usr/.../__init__.py[mode=644]"};
    addPaths("files", patterns, [fileList] { return textsOfFiles(fileList, false); });
    addPaths("files_attributes", patternsWithAttributes, [fileList] { return textsOfFiles(fileList, true); });
}

}  // namespace

void addManyPaths(const std::string& fileList) {
    if (!fileList.empty()) {
        addFiles(fileList);
    }
    addPaths("kept_values", {},
             [] { return numberedTexts(150'000, [](int i) { return fmt::format("/site/port[id={}]", i); }); });
    addPaths("kept_names", {},
             [] { return numberedTexts(150'000, [](int i) { return fmt::format("/site/port{0}[id={0}]", i); }); });
    for (const int count : {1'000, 10'000, 100'000, 1'000'000, 4'000'000}) {
        if (count > 100'000 && fileList.empty()) {
            break;  // takes gigabytes
        }
        addPaths<PeerList<Ours, ByHand, Flyweight, Text>>(fmt::format("among_{}", count), {}, [count] {
            return numberedTexts(count, [](int i) {
                return fmt::format("/site/hall-{}/rack-{}/port-{}[id={}]", i / 10'000, i / 100, i % 100, i);
            });
        });
    }
}

}  // namespace Benchmarks
