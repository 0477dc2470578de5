/// @file
/// What the user asked for.

#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

inline constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

/// What is printed for the lines that are selected.
enum class Output { lines, counts, fileNames, summary, nothing };

struct Options {
    Tavik::ObjectPathPatternSet patterns;
    bool hasPatterns = false;  // some were given, even if a file had none
    std::vector<const char*> files;
    bool isInverted = false;
    std::size_t maxCount = unlimited;
    Output output = Output::lines;
    bool showsLineNumbers = false;
    std::optional<bool> showsFileNames;  // if this was not given, the number of files decides
    const char* summaryKey = nullptr;
    std::size_t summarySize = unlimited;
    bool countsNodes = false;
};

/// Reads the arguments of the program, and the patterns from the files that they name. Ends the program if it is asked
/// for help, or on an error.
[[nodiscard]] Options parseOptions(int argc, char** argv);
