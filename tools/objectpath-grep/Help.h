/// @file
/// What the program prints about itself.

#pragma once

/// Prints how the program is used, and ends it.
[[noreturn]] void printHelp();

/// Prints the version, and ends the program.
[[noreturn]] void printVersion();
