/// @file
/// Reading patterns. Each of these functions ends the program if a pattern is malformed, and warns of what looks like a
/// wildcard and is none.

#pragma once

#include <string_view>

#include <Tavik/ObjectPath/PatternSet.h>

/// Adds a pattern that was an argument.
void addPattern(std::string_view text, Tavik::ObjectPathPatternSet& patterns);

/// Adds the patterns of a file, one a line. Empty lines, and comments, which begin with '#', are skipped.
void addPatternsOfFile(const char* name, Tavik::ObjectPathPatternSet& patterns);
