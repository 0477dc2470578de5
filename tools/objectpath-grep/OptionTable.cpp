#include "OptionTable.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include <fmt/format.h>

#include "Help.h"
#include "Messages.h"
#include "SyntaxError.h"

namespace {

/// A number that is too large to be written down is one without a limit.
std::size_t numberOf(const char* argument) {
    std::size_t number = 0;
    const char* const end = argument + std::strlen(argument);
    const auto [rest, error] = std::from_chars(argument, end, number);
    if (rest != end || error == std::errc::invalid_argument) {
        failUsage(fmt::format("not a number: {}", shown(argument)));
    }
    return error == std::errc() ? number : unlimited;
}

Coloring coloringOf(const char* argument) {
    const std::string_view when = argument != nullptr ? argument : "auto";
    if (when != "auto" && when != "always" && when != "never") {
        failUsage(fmt::format("not auto, always or never: {}", shown(when)));
    }
    return when == "auto" ? Coloring::automatic : when == "always" ? Coloring::always : Coloring::never;
}

/// Calls a function that parses an argument, and ends the program if that is malformed.
template <typename Parse>
void parseOrExit(const char* kind, const char* argument, Parse parse) {
    try {
        parse(argument);
    } catch (const SyntaxError& error) {
        reportMalformed(fmt::format("bad {}: ", kind), argument, error.what(), error.offset());
        std::exit(errorStatus);
    }
}

void setFormat(Options& options, const char* argument) {
    parseOrExit("format", argument, [&](const char* text) { options.format.emplace(text); });
    options.output = Output::format;
}

void addSummaryFields(Options& options, const char* argument) {
    parseOrExit("list of fields", argument, [&](const char* text) { addFields(text, options.summaryFields); });
    options.output = Output::summary;
}

/// The effect of an option that has no argument.
template <auto member, auto value>
void set(Options& options, const char*) {
    options.*member = value;
}

constexpr Option table[] = {
    {'e', "pattern", "PATTERN",
     [](Options& options, const char* argument) {
         options.sources.push_back({argument, false});
     },
     "select by this pattern, too, instead of by an argument"},
    {'f', "file", "FILE",
     [](Options& options, const char* argument) {
         options.sources.push_back({argument, true});
     },
     "select by the patterns in FILE, one a line; empty lines and lines\n"
     "that begin with # are skipped"},
    {'x', "whole-path", nullptr, [](Options& options, const char*) { options.config.wholePath = true; },
     "select only paths that a pattern matches up to their end, as if no\n"
     "pattern ended in an implied /..."},
    {'\0', "any-name", nullptr, [](Options& options, const char*) { options.config.anyNameWithAttributes = true; },
     "let *[KEY=VALUE] match a segment of any name that has this attribute"},
    {'v', "invert-match", nullptr, set<&Options::isInverted, true>, "select the paths that no pattern selects"},
    {'\0', "names", nullptr, set<&Options::syntax, Syntax::fileName>,
     "read lines as names of files: / separates segments, and no other\n"
     "character has a special meaning"},
    {'m', "max-count", "NUM", [](Options& options, const char* argument) { options.maxCount = numberOf(argument); },
     "stop reading a file after NUM selected lines"},
    {'\0', "format", "FORMAT", setFormat,
     "print FORMAT for each selected path, with fields of the path for\n"
     "{FIELD} and the path for {}; {{ is a brace, \\t a tab, \\n a newline"},
    {'\0', "json", nullptr, set<&Options::output, Output::json>, "print a JSON object for each selected path"},
    {'c', "count", nullptr, set<&Options::output, Output::counts>, "print the number of selected lines of each file"},
    {'l', "files-with-matches", nullptr, set<&Options::output, Output::filesWith>,
     "print the names of files with selected lines"},
    {'L', "files-without-match", nullptr, set<&Options::output, Output::filesWithout>,
     "print the names of files without selected lines"},
    {'q', "quiet", nullptr, set<&Options::output, Output::nothing>,
     "print nothing; the exit status says whether a line was selected"},
    {'s', "no-messages", nullptr, set<&Options::reportsFileErrors, false>,
     "do not say which files are missing or cannot be read"},
    {'n', "line-number", nullptr, set<&Options::showsLineNumbers, true>, "print the number of each line before it"},
    {'H', "with-filename", nullptr, set<&Options::showsFileNames, true>, "print the name of the file before each line"},
    {'h', "no-filename", nullptr, set<&Options::showsFileNames, false>,
     "print no names of files, even if there are several"},
    {'\0', "color", "[=WHEN]", [](Options& options, const char* argument) { options.coloring = coloringOf(argument); },
     "highlight what the pattern needs of each path; WHEN is always, never,\n"
     "or auto, for on terminals only, which a missing WHEN means, too"},
    {'\0', "count-by", "FIELD[,FIELD]...", addSummaryFields,
     "print how many selected paths have which value of the FIELD, or\n"
     "which values of several, the most frequent values first"},
    {'\0', "top", "NUM", [](Options& options, const char* argument) { options.summarySize = numberOf(argument); },
     "print only the NUM most frequent values"},
    {'\0', "nodes", nullptr, set<&Options::countsNodes, true>,
     "print to standard error how many distinct nodes the paths have\n"
     "that were read; keeps all of them in memory"},
    {'\0', "help", nullptr, [](Options&, const char*) { printHelp(); }, "print this text"},
    {'V', "version", nullptr, [](Options&, const char*) { printVersion(); }, "print the version"},
};

}  // namespace

std::span<const Option> optionTable() noexcept {
    return table;
}
