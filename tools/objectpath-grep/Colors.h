/// @file
/// Colours on a terminal, those of grep.

#pragma once

#include <cstddef>
#include <string_view>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/PatternSet.h>

enum class Coloring { never, automatic, always };

/// Whether to print colours. By default on a terminal that has them, unless the user wants none in any program.
[[nodiscard]] bool usesColors(Coloring coloring);

/// Sequences that begin a colour, and the one that ends it.
/// @{
inline constexpr std::string_view matchColor = "\x1b[01;31m";
inline constexpr std::string_view fileColor = "\x1b[35m";
inline constexpr std::string_view numberColor = "\x1b[32m";
inline constexpr std::string_view separatorColor = "\x1b[36m";
inline constexpr std::string_view endOfColor = "\x1b[m";
/// @}

/// How many segments, from the first on, a pattern needs to select the path. Takes one match for each doubling of the
/// segments.
[[nodiscard]] std::size_t countMatchedSegments(const Tavik::ObjectPathPatternSet& patterns,
                                               const Tavik::ObjectPath& path);
