#include "Options.h"

#include <string>

#include <getopt.h>

#include <fmt/format.h>

#include "Messages.h"
#include "OptionTable.h"

namespace {

/// What getopt returns for the option of this index when it was given by its name.
constexpr int firstName = 256;

/// The option for what getopt returned, or for its `optopt`; null if there is none.
const Option* findOption(int found) {
    const auto table = optionTable();
    if (found >= firstName) {
        return &table[static_cast<std::size_t>(found - firstName)];
    }
    for (const Option& option : table) {
        if (found != '\0' && option.letter == found) {
            return &option;
        }
    }
    return nullptr;
}

/// Ends the program for an option that is unknown, or whose argument is missing or too much. `last` is the argument of
/// the program that getopt has read, and `found` what it returned.
[[noreturn]] void failOption(int found, const char* last) {
    const Option* const option = findOption(optopt);
    if (found == ':') {
        failUsage(fmt::format("--{} needs an argument", option->name));
    }
    if (option != nullptr) {
        failUsage(fmt::format("--{} has no argument", option->name));
    }
    if (optopt != 0) {
        failUsage(fmt::format("unknown option: -{}", shown(std::string(1, static_cast<char>(optopt)))));
    }
    failUsage(fmt::format("unknown or ambiguous option: {}", shown(last)));
}

void applyOptions(int argc, char** argv, Options& options) {
    std::string letters = ":";  // so that getopt prints no messages, and returns ':' for a missing argument
    std::vector<option> names;
    for (const Option& entry : optionTable()) {
        const int hasArgument = entry.needsArgument() ? required_argument
                                : entry.hasArgument() ? optional_argument
                                                      : no_argument;
        names.push_back({entry.name, hasArgument, nullptr, firstName + static_cast<int>(names.size())});
        if (entry.letter != '\0') {
            letters += entry.letter;
            letters += entry.needsArgument() ? ":" : "";
        }
    }
    names.push_back({});
    for (int found; (found = getopt_long(argc, argv, letters.c_str(), names.data(), nullptr)) != -1;) {
        if (found == '?' || found == ':') {
            failOption(found, argv[optind - 1]);
        }
        findOption(found)->apply(options, optarg);
    }
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    Options options;
    applyOptions(argc, argv, options);
    if (options.sources.empty()) {
        if (optind == argc) {
            failUsage("a pattern is missing");
        }
        options.sources.push_back({argv[optind++], false});
    }
    options.files.assign(argv + optind, argv + argc);
    if (options.files.empty()) {
        options.files.push_back("-");
    }
    if (options.summarySize && options.output != Output::summary) {
        failUsage("--top needs --count-by");
    }
    for (const PatternSource& source : options.sources) {
        addPatterns(source, options.config, options.patterns);
    }
    return options;
}
