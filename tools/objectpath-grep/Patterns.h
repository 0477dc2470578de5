/// @file
/// Reading patterns.

#pragma once

#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

/// Where patterns come from: an argument that is a pattern, or that names a file with one pattern a line. There, empty
/// lines and comments, which begin with '#', are skipped.
struct PatternSource {
    const char* argument;
    bool isFile;
};

/// Adds the patterns of a source with these options. Ends the program if one is malformed, and warns of what looks like
/// a wildcard and is none.
void addPatterns(const PatternSource& source,
                 const Tavik::ObjectPathPatternConfig& config,
                 Tavik::ObjectPathPatternSet& patterns);
