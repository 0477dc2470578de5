// Reads one path per line from standard input and prints those that a pattern selects, with some options of grep.

#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <iostream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <getopt.h>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

constexpr int foundStatus = 0;
constexpr int nothingFoundStatus = 1;
constexpr int errorStatus = 2;

constexpr std::string_view usage = "usage: objectpath-grep [-cv] [--nodes] {PATTERN | -e PATTERN...} < PATHS";

constexpr std::string_view help = R"(
Reads one path per line and prints those that a pattern selects, in canonical form.

  -e PATTERN          selects by this pattern; may be given several times
  -v, --invert-match  prints the paths that no pattern selects
  -c, --count         prints the number of paths instead of the paths
      --nodes         also writes to standard error how many distinct nodes the
                      paths that were read have; keeps all paths in memory
      --help          prints this text
      --              ends the options

In a pattern, the segment ... matches zero or more segments and * exactly one.
Any other segment matches one that has its name and all its attributes; the
value * matches any value. Every pattern ends in an implied /...

A line that is not a path is reported on standard error and otherwise ignored.
The exit status is 0 if a path was found, 1 if none was, and 2 on other errors.
)";

enum LongOption : int { nodesOption = 256, helpOption };

constexpr option longOptions[] = {{"invert-match", no_argument, nullptr, 'v'},
                                  {"count", no_argument, nullptr, 'c'},
                                  {"nodes", no_argument, nullptr, nodesOption},
                                  {"help", no_argument, nullptr, helpOption},
                                  {nullptr, 0, nullptr, 0}};

struct Options {
    std::vector<ObjectPath> patterns;
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

ObjectPath parsePattern(std::string_view text) {
    std::size_t errorOffset = 0;
    const auto result = Tavik::tryParseObjectPath(text, errorOffset);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        report("objectpath-grep: bad pattern", text, *message, errorOffset);
        std::exit(errorStatus);
    }
    return std::get<ObjectPath>(result);
}

Options parseArguments(int argc, char** argv) {
    Options options;
    for (int found; (found = getopt_long(argc, argv, "e:vc", longOptions, nullptr)) != -1;) {
        switch (found) {
            case 'e':
                options.patterns.push_back(parsePattern(optarg));
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
    if (options.patterns.empty() && optind < argc) {
        options.patterns.push_back(parsePattern(argv[optind++]));
    }
    if (options.patterns.empty() || optind < argc) {
        fail(usage);
    }
    return options;
}

bool isWanted(const ObjectPath& path, const Options& options) {
    for (const ObjectPath& pattern : options.patterns) {
        if (path.matchesPattern(pattern)) {
            return !options.inverted;
        }
    }
    return options.inverted;
}

/// Prints the wanted paths of standard input. Adds all paths to `kept` if their nodes are to be counted.
Counts search(const Options& options, std::vector<ObjectPath>& kept) {
    Counts counts;
    for (std::string line; std::getline(std::cin, line);) {
        ++counts.read;
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        std::size_t errorOffset = 0;
        const auto result = Tavik::tryParseObjectPath(line, errorOffset);
        if (const auto* message = std::get_if<Tavik::String>(&result)) {
            ++counts.malformed;
            report(fmt::format("line {}", counts.read), line, *message, errorOffset);
            continue;
        }
        const auto& path = std::get<ObjectPath>(result);
        if (isWanted(path, options)) {
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
        options.patterns.clear();  // so that the tables hold exactly the nodes of the paths that were read
        std::cerr << fmt::format("{} read, {} malformed, {} found; distinct nodes: {} segments, {} values\n",
                                 counts.read, counts.malformed, counts.found, Tavik::Impl::inspectSegmentTable().size(),
                                 Tavik::Impl::inspectValueTable().size());
    }
    return counts.found > 0 ? foundStatus : nothingFoundStatus;
}
