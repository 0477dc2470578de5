/// @file
/// The options of the program.

#pragma once

#include <span>
#include <string_view>

#include "Options.h"

/// An option, its effect, and its text in the help. The arrays of getopt and the help follow the table of these.
struct Option {
    char letter;  // NUL if there is none
    const char* name;
    const char* argument;  // null if there is none, and in brackets if it may be missing
    void (*apply)(Options& options, const char* argument);
    std::string_view help;

    [[nodiscard]] bool hasArgument() const noexcept { return argument != nullptr; }
    [[nodiscard]] bool needsArgument() const noexcept { return hasArgument() && *argument != '['; }
};

/// All options, in the order of the help.
[[nodiscard]] std::span<const Option> optionTable() noexcept;
