/// @file
/// What the user asked for.

#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

#include "Colors.h"
#include "Field.h"
#include "Format.h"
#include "PathText.h"
#include "Patterns.h"

inline constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

/// What is printed for the lines that are selected.
enum class Output { lines, format, json, counts, filesWith, filesWithout, summary, nothing };

struct Options {
    std::vector<PatternSource> sources;
    Tavik::ObjectPathPatternConfig config;  // of all patterns
    Tavik::ObjectPathPatternSet patterns;   // of these sources
    std::vector<const char*> files;
    Syntax syntax = Syntax::path;
    bool isInverted = false;
    bool reportsFileErrors = true;
    std::size_t maxCount = unlimited;
    Output output = Output::lines;
    std::optional<Format> format;
    bool showsLineNumbers = false;
    std::optional<bool> showsFileNames;  // if this was not given, the number of files decides
    Coloring coloring = Coloring::never;
    std::vector<Field> summaryFields;
    std::optional<std::size_t> summarySize;
    bool countsNodes = false;
};

/// Reads the arguments of the program, and the patterns from the files that they name. Ends the program if it is asked
/// for help, or on an error.
[[nodiscard]] Options parseOptions(int argc, char** argv);
