/// @file
/// The steps of work on many paths that are measured together, and their results.

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace Benchmarks {

struct Step {
    std::string_view key;    // in the results of Google Benchmark
    std::string_view title;  // in tables and pictures
};

/// All steps, in the order of the tables.
inline constexpr std::array steps = {
    Step{"first_load", "parse all, on new memory"},
    Step{"faults", "page faults on new memory"},
    Step{"stream", "parse and drop"},
    Step{"stream_kept", "parse, keep the last"},
    Step{"load", "parse all"},
    Step{"bytes", "memory (bytes)"},
    Step{"again", "parse again, in order"},
    Step{"shuffled", "parse again, shuffled"},
    Step{"same", "parse again, both threads the same"},
    Step{"mixed", "parse, one of ten is new"},
    Step{"create", "parse new ones and drop them"},
    Step{"copy", "copy"},
    Step{"insert", "insert into hash set"},
    Step{"look_up", "look up in hash set"},
    Step{"sort", "sort"},
    Step{"match", "match 3 patterns"},
    Step{"print", "print"},
    Step{"release", "release"},
};

/// The place of a step in `steps`. A key that is not there does not compile.
consteval std::size_t step(std::string_view key) {
    const auto* const found =
        std::find_if(steps.begin(), steps.end(), [key](const Step& each) { return each.key == key; });
    return found == steps.end() ? throw "no such step" : static_cast<std::size_t>(found - steps.begin());
}

/// A result for each step, per path; 0 where nothing was measured.
using Figures = std::array<double, steps.size()>;

/// The keys and titles for the tables: "load=parse all;bytes=memory (bytes);".
inline std::string stepTitles() {
    std::string titles;
    for (const Step& each : steps) {
        titles.append(each.key).append("=").append(each.title).append(";");
    }
    return titles;
}

}  // namespace Benchmarks
