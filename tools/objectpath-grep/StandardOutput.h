/// @file
/// Standard output. An error ends the program, so that a pipeline does not take a part of the result for all of it.

#pragma once

#include <string_view>

/// Writes some bytes, maybe later.
void write(std::string_view bytes);

/// Writes a newline, maybe later.
void endLine();

/// Writes what has not been written yet.
void flushOutput();
