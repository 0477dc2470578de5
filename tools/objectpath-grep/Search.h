/// @file
/// Selecting lines.

#pragma once

#include <cstddef>
#include <string_view>
#include <variant>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

#include "Lines.h"
#include "Options.h"
#include "Printer.h"
#include "Summary.h"

/// One pass over the files. Prints what the options ask for.
class Search {
public:
    explicit Search(Options& options);

    /// Searches a file.
    void searchFile(const char* name);

    /// Whether nothing that is still to be read could change what the program prints or returns.
    [[nodiscard]] bool isDecided() const noexcept;

    /// Prints what is known only at the end, and returns the exit status.
    [[nodiscard]] int finish();

    /// The number of lines that were read, of those that are no paths, and of those that were selected.
    /// @{
    [[nodiscard]] std::size_t read() const noexcept { return read_; }
    [[nodiscard]] std::size_t malformed() const noexcept { return malformed_; }
    [[nodiscard]] std::size_t selected() const noexcept { return selected_; }
    /// @}

private:
    /// The path of the current line; null if it has none, which is reported. Valid until the next call.
    [[nodiscard]] const Tavik::ObjectPath* parse(std::string_view line, const Lines& lines);

    /// Prints or counts a line that was selected.
    void use(std::string_view line, const Tavik::ObjectPath& path, const Lines& lines);

    Options& options_;
    const std::size_t limit_;  // of the lines that are selected in one file
    Printer printer_;
    // The result of the last line: the nodes that the next path has in common with it need not be created again.
    std::variant<Tavik::ObjectPath, Tavik::String> parsed_;
    std::vector<Tavik::ObjectPath> kept_;  // so that their nodes can be counted
    Summary summary_;
    std::size_t read_ = 0;
    std::size_t malformed_ = 0;
    std::size_t selected_ = 0;
    bool hasFailed_ = false;
};
