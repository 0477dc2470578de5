// Reads one path per line from standard input and prints those that a pattern selects, with some options of grep.

#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <getopt.h>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/PatternSet.h>

using Tavik::ObjectPath;

namespace {

constexpr int foundStatus = 0;
constexpr int nothingFoundStatus = 1;
constexpr int errorStatus = 2;

constexpr std::string_view usage =
    "usage: objectpath-grep [-cv] [--nodes] {PATTERN | {-e PATTERN | -f FILE}...} < PATHS";

constexpr std::string_view help = R"(
Reads one path per line and prints those that a pattern selects, in canonical form.

  -e PATTERN          selects by this pattern; may be given several times
  -f FILE             selects by the patterns in this file, one a line; an empty
                      line selects every path; may be given several times
  -v, --invert-match  prints the paths that no pattern selects
  -c, --count         prints the number of paths instead of the paths
      --nodes         also writes to standard error how many distinct nodes the
                      paths that were read have; keeps all paths in memory
      --help          prints this text
      --              ends the options

In a pattern, the segment ... matches zero or more segments and * exactly one.
Any other segment matches one that has its name and all its attributes; the
value * matches any value. Every pattern ends in an implied /...

There are no wildcards for a part of a name or value, nor for keys, and * with
attributes is an ordinary name; a pattern that looks different gets a warning.

A line that is not a path is reported on standard error and otherwise ignored.
The exit status is 0 if a path was found, even if other lines were no paths; 1
if none was found; 2 if none was found and a line was no path, or on an error.
)";

enum LongOption : int { nodesOption = 256, helpOption };

constexpr option longOptions[] = {{"invert-match", no_argument, nullptr, 'v'},
                                  {"count", no_argument, nullptr, 'c'},
                                  {"nodes", no_argument, nullptr, nodesOption},
                                  {"help", no_argument, nullptr, helpOption},
                                  {nullptr, 0, nullptr, 0}};

struct Options {
    Tavik::ObjectPathPatternSet patterns;
    bool inverted = false;
    bool countsOnly = false;
    bool countsNodes = false;
};

struct Counts {
    std::size_t read = 0;
    std::size_t malformed = 0;
    std::size_t found = 0;
};

/// Reports an error and ends the program.
[[noreturn]] void fail(std::string_view message) {
    std::cout.flush();
    std::cerr << "objectpath-grep: " << message << '\n';
    std::exit(errorStatus);
}

void flushOutput() {
    if (!std::cout.flush()) {
        fail("cannot write standard output");
    }
}

/// A text that a terminal can show, and the number of columns that it takes.
struct Shown {
    std::string text;
    std::size_t columns = 0;
};

/// Replaces control characters, and bytes that are not valid in the user's locale, by escapes such as \x1b.
Shown show(std::string_view bytes) {
    Shown result;
    while (!bytes.empty()) {
        wchar_t character = 0;
        std::mbstate_t state{};
        std::size_t size = std::mbrtowc(&character, bytes.data(), bytes.size(), &state);
        const bool isCharacter = size > 0 && size <= bytes.size();
        if (const int columns = isCharacter ? wcwidth(character) : -1; columns >= 0) {
            result.text += bytes.substr(0, size);
            result.columns += static_cast<std::size_t>(columns);
        } else {
            size = 1;
            result.text += fmt::format("\\x{:02x}", static_cast<unsigned char>(bytes.front()));
            result.columns += 4;
        }
        bytes.remove_prefix(size);
    }
    return result;
}

/// Shows what is wrong with a text, with a caret under the place of the error.
void report(std::string_view source, std::string_view text, const Tavik::String& message, std::size_t errorOffset) {
    const std::size_t column = show(text.substr(0, errorOffset)).columns;
    std::cerr << source << ": " << show(message).text << "\n    " << show(text).text << "\n    "
              << std::string(column, ' ') << "^\n";
}

void warn(const ObjectPath& pattern, std::string_view message) {
    std::cerr << "objectpath-grep: warning: " << show(pattern.toString()).text << ": " << show(message).text << '\n';
}

/// Warns of what looks like a wildcard and is none.
void warnOfOrdinaryText(const ObjectPath& pattern) {
    const auto hasStar = [](std::string_view text) { return text.find('*') != std::string_view::npos; };
    for (const Tavik::ObjectPathSegment& segment : pattern.explode()) {
        const auto attributes = segment.attributes();
        const std::string_view name = segment.name();
        if (!attributes.empty() && (name == "*" || name == "...")) {
            warn(pattern, fmt::format("{} with attributes is an ordinary name", name));
        } else if (name != "*" && hasStar(name)) {
            warn(pattern, fmt::format("{} matches only this name", name));
        }
        for (const auto& [key, value] : attributes) {
            if (hasStar(key)) {
                warn(pattern, fmt::format("{} matches only this key", key));
            }
            if (value != "*" && hasStar(value)) {
                warn(pattern, fmt::format("{} matches only this value", value));
            }
        }
    }
}

void addPattern(std::string_view text, const std::string& source, Options& options) {
    std::size_t errorOffset = 0;
    const auto result = Tavik::tryParseObjectPath(text, errorOffset);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        report("objectpath-grep: " + source + "bad pattern", text, *message, errorOffset);
        std::exit(errorStatus);
    }
    warnOfOrdinaryText(std::get<ObjectPath>(result));
    options.patterns.add(std::get<ObjectPath>(result));
}

/// Reads a line without its end, which may be that of another system. Returns whether there was one.
bool readLine(std::istream& in, std::string& line) {
    if (!std::getline(in, line)) {
        return false;
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return true;
}

void addPatternsOfFile(const char* name, Options& options) {
    std::ifstream file(name);
    std::string line;
    for (std::size_t number = 1; readLine(file, line); ++number) {
        addPattern(line, fmt::format("{}, line {}: ", show(name).text, number), options);
    }
    if (!file.is_open() || file.bad()) {
        fail("cannot read " + show(name).text);
    }
}

Options parseArguments(int argc, char** argv) {
    Options options;
    bool needsPattern = true;
    for (int found; (found = getopt_long(argc, argv, "e:f:vc", longOptions, nullptr)) != -1;) {
        switch (found) {
            case 'e':
                addPattern(optarg, "", options);
                needsPattern = false;
                break;
            case 'f':
                addPatternsOfFile(optarg, options);
                needsPattern = false;
                break;
            case 'v':
                options.inverted = true;
                break;
            case 'c':
                options.countsOnly = true;
                break;
            case nodesOption:
                options.countsNodes = true;
                break;
            case helpOption:
                std::cout << usage << '\n' << help;
                flushOutput();
                std::exit(EXIT_SUCCESS);
            default:
                fail(usage);
        }
    }
    if (needsPattern && optind < argc) {
        addPattern(argv[optind++], "", options);
        needsPattern = false;
    }
    if (needsPattern || optind < argc) {
        fail(usage);
    }
    return options;
}

/// Prints the wanted paths of standard input. Adds all paths to `kept` if their nodes are to be counted.
Counts search(const Options& options, std::vector<ObjectPath>& kept) {
    Counts counts;
    // Outlives the line: the nodes that the next path has in common with this one need not be created again.
    std::variant<ObjectPath, Tavik::String> result;
    for (std::string line; readLine(std::cin, line);) {
        ++counts.read;
        std::size_t errorOffset = 0;
        result = Tavik::tryParseObjectPath(line, errorOffset);
        if (const auto* message = std::get_if<Tavik::String>(&result)) {
            ++counts.malformed;
            report(fmt::format("line {}", counts.read), line, *message, errorOffset);
            continue;
        }
        const auto& path = std::get<ObjectPath>(result);
        if (options.patterns.matchesAny(path) != options.inverted) {
            ++counts.found;
            if (!options.countsOnly) {
                std::cout << path << '\n';
            }
        }
        if (options.countsNodes) {
            kept.push_back(path);
        }
    }
    return counts;
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "");
    std::ios::sync_with_stdio(false);
    Options options = parseArguments(argc, argv);
    std::vector<ObjectPath> kept;
    const Counts counts = search(options, kept);
    if (std::cin.bad()) {
        fail("cannot read standard input");
    }
    if (options.countsOnly) {
        std::cout << counts.found << '\n';
    }
    flushOutput();

    if (options.countsNodes) {
        options.patterns = {};  // so that the tables hold exactly the nodes of the paths that were read
        std::cerr << fmt::format("{} read, {} malformed, {} found; distinct nodes: {} segments, {} values\n",
                                 counts.read, counts.malformed, counts.found, Tavik::Impl::inspectSegmentTable().size(),
                                 Tavik::Impl::inspectValueTable().size());
    }
    if (counts.found > 0) {
        return foundStatus;
    }
    return counts.malformed > 0 ? errorStatus : nothingFoundStatus;
}
