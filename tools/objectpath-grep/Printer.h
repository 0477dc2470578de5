/// @file
/// What is printed for lines that are selected.

#pragma once

#include <cstddef>
#include <string_view>

#include <Tavik/ObjectPath/ObjectPath.h>

#include "Lines.h"
#include "Options.h"

/// Prints on standard output, in the form and with the colours that the options ask for.
class Printer {
public:
    explicit Printer(Options& options);

    /// Prints a line that was selected, or what the options want of its path.
    void printLine(std::string_view line, const Tavik::ObjectPath& path, const Lines& lines);

    /// Prints what is known at the end of a file, in which `count` lines were selected.
    void printFile(const Lines& lines, std::size_t count) const;

private:
    /// Prints the name of the file and the number of the line, if these were asked for.
    void printPlace(const Lines& lines) const;
    void printHighlighted(std::string_view line, const Tavik::ObjectPath& path) const;
    void printColored(std::string_view color, std::string_view text) const;

    Options& options_;
    const bool showsFileNames_;
    const bool usesColors_;
};
