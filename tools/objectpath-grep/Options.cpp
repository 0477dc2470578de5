#include "Options.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include <getopt.h>

#include <fmt/format.h>

#include <Tavik/ObjectPath/Version.h>

#include "Messages.h"
#include "Patterns.h"
#include "StandardOutput.h"

namespace {

constexpr std::string_view usage = "Usage: objectpath-grep [OPTION]... PATTERN [FILE]...\n";

constexpr std::string_view introduction = R"(
Prints the lines of each FILE that hold a path which PATTERN selects. Without a
FILE, or if it is "-", reads standard input.

)";

constexpr std::string_view notes = R"(
In a pattern, the segment ... matches zero or more segments and * exactly one.
Any other segment matches one that has its name and all its attributes; the
value * matches any value. Every pattern ends in an implied /...

Of -c, -l, -q and --count-by, the last one that is given has an effect.

A line that is no path is reported on standard error and not selected. The exit
status is 0 if a line was selected, 1 if none was, and 2 on an error, or if no
line was selected and a line was no path.
)";

/// Prints how the program is used, after a message about an argument, and ends the program.
[[noreturn]] void exitWithUsage() {
    fmt::print(stderr, "{}Try 'objectpath-grep --help' for more.\n", usage);
    std::exit(errorStatus);
}

[[noreturn]] void failUsage(std::string_view message) {
    say(message);
    exitWithUsage();
}

std::size_t numberOf(const char* argument) {
    std::size_t number = 0;
    const char* const end = argument + std::strlen(argument);
    const auto [rest, error] = std::from_chars(argument, end, number);
    if (error != std::errc() || rest != end) {
        failUsage(fmt::format("not a number: {}", shown(argument)));
    }
    return number;
}

[[noreturn]] void printAndExit(std::string_view text) {
    write(text);
    flushOutput();
    std::exit(EXIT_SUCCESS);
}

void printHelp(Options& options, const char* argument);

/// An option, its effect, and its line of the help. The arrays of getopt follow this table.
struct Option {
    char letter;  // NUL if there is none
    const char* name;
    const char* argument;  // null if there is none
    void (*apply)(Options& options, const char* argument);
    std::string_view help;
};

constexpr Option table[] = {
    {'e', "pattern", "PATTERN",
     [](Options& options, const char* argument) {
         addPattern(argument, options.patterns);
         options.hasPatterns = true;
     },
     "select by this pattern, too, instead of by an argument"},
    {'f', "file", "FILE",
     [](Options& options, const char* argument) {
         addPatternsOfFile(argument, options.patterns);
         options.hasPatterns = true;
     },
     "select by the patterns in FILE, one a line; empty lines and lines\n"
     "that begin with # are skipped"},
    {'v', "invert-match", nullptr, [](Options& options, const char*) { options.isInverted = true; },
     "select the paths that no pattern selects"},
    {'m', "max-count", "NUM", [](Options& options, const char* argument) { options.maxCount = numberOf(argument); },
     "stop reading a file after NUM selected lines"},
    {'c', "count", nullptr, [](Options& options, const char*) { options.output = Output::counts; },
     "print the number of selected lines of each file"},
    {'l', "files-with-matches", nullptr, [](Options& options, const char*) { options.output = Output::fileNames; },
     "print the names of files with selected lines"},
    {'q', "quiet", nullptr, [](Options& options, const char*) { options.output = Output::nothing; },
     "print nothing; the exit status says whether a line was selected"},
    {'n', "line-number", nullptr, [](Options& options, const char*) { options.showsLineNumbers = true; },
     "print the number of each line before it"},
    {'H', "with-filename", nullptr, [](Options& options, const char*) { options.showsFileNames = true; },
     "print the name of the file before each line"},
    {'h', "no-filename", nullptr, [](Options& options, const char*) { options.showsFileNames = false; },
     "print no names of files, even if there are several"},
    {'\0', "count-by", "KEY",
     [](Options& options, const char* argument) {
         options.summaryKey = argument;
         options.output = Output::summary;
     },
     "print how many selected paths have which value of the attribute\n"
     "KEY, most frequent values first; the last segment with KEY counts"},
    {'\0', "top", "NUM", [](Options& options, const char* argument) { options.summarySize = numberOf(argument); },
     "print only the NUM most frequent values"},
    {'\0', "nodes", nullptr, [](Options& options, const char*) { options.countsNodes = true; },
     "print to standard error how many distinct nodes the paths have\n"
     "that were read; keeps all of them in memory"},
    {'\0', "help", nullptr, printHelp, "print this text"},
    {'V', "version", nullptr,
     [](Options&, const char*) { printAndExit("objectpath-grep " TAVIK_OBJECT_PATH_VERSION "\n"); },
     "print the version"},
};

void printHelp(Options&, const char*) {
    std::string text = std::string(usage) + std::string(introduction);
    for (const Option& option : table) {
        std::string names = option.letter != '\0' ? fmt::format("-{}, ", option.letter) : std::string(4, ' ');
        names += fmt::format("--{}{}{}", option.name, option.argument != nullptr ? "=" : "",
                             option.argument != nullptr ? option.argument : "");
        text += fmt::format("  {}\n", names);
        for (std::string_view rest = option.help; !rest.empty();) {
            const std::size_t size = std::min(rest.find('\n'), rest.size());
            text += fmt::format("        {}\n", rest.substr(0, size));
            rest.remove_prefix(std::min(size + 1, rest.size()));
        }
    }
    printAndExit(text + std::string(notes));
}

/// What getopt returns for the option of this index when it was given by its name.
constexpr int firstName = 256;

const Option& optionOf(int found) {
    if (found >= firstName) {
        return table[found - firstName];
    }
    return *std::find_if(std::begin(table), std::end(table),
                         [&](const Option& option) { return option.letter == found; });
}

void applyOptions(int argc, char** argv, Options& options) {
    std::string letters;
    std::vector<option> names;
    for (const Option& entry : table) {
        const int hasArgument = entry.argument != nullptr ? required_argument : no_argument;
        names.push_back({entry.name, hasArgument, nullptr, firstName + static_cast<int>(names.size())});
        if (entry.letter != '\0') {
            letters += entry.letter;
            letters += entry.argument != nullptr ? ":" : "";
        }
    }
    names.push_back({});
    for (int found; (found = getopt_long(argc, argv, letters.c_str(), names.data(), nullptr)) != -1;) {
        if (found == '?') {
            exitWithUsage();  // getopt has printed a message
        }
        optionOf(found).apply(options, optarg);
    }
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    static char programName[] = "objectpath-grep";
    argv[0] = programName;  // as getopt calls it in its messages
    Options options;
    applyOptions(argc, argv, options);
    if (!options.hasPatterns) {
        if (optind == argc) {
            failUsage("a pattern is missing");
        }
        addPattern(argv[optind++], options.patterns);
    }
    options.files.assign(argv + optind, argv + argc);
    if (options.files.empty()) {
        options.files.push_back("-");
    }
    if (options.summarySize != unlimited && options.output != Output::summary) {
        failUsage("--top needs --count-by");
    }
    return options;
}
