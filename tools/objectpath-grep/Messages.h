/// @file
/// What the program says on standard error. A message that cannot be written is lost: the exit status still says what
/// the search gave.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

inline constexpr int foundStatus = 0;
inline constexpr int nothingFoundStatus = 1;
inline constexpr int errorStatus = 2;

inline constexpr std::string_view usage = "Usage: objectpath-grep [OPTION]... PATTERN [FILE]...\n";

/// The bytes as a terminal can show them: control characters, and bytes that are not valid in the user's locale, are
/// replaced by escapes such as \x1b.
[[nodiscard]] std::string shown(std::string_view bytes);

/// Prints the name of the program and a message, which is shown as it is.
void say(std::string_view message);

/// Prints a line without the name of the program.
void sayLine(std::string_view line);

/// Prints a message and ends the program with the status of an error.
[[noreturn]] void fail(std::string_view message);

/// Like `fail`, and prints how the program is used.
[[noreturn]] void failUsage(std::string_view message);

/// Prints what is wrong with `text`, with a caret below the place of the error.
void reportMalformed(std::string_view source, std::string_view text, std::string_view message, std::size_t errorOffset);
