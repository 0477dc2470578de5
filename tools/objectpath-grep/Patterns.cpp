#include "Patterns.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <variant>

#include <fmt/format.h>

#include "Lines.h"
#include "Messages.h"

using Tavik::ObjectPath;
using Tavik::ObjectPathPatternConfig;

namespace {

/// A warning of the library, in which its option is that of the program.
std::string withOptionOfProgram(const Tavik::String& warning) {
    static constexpr std::string_view option = "the option anyNameWithAttributes";
    std::string text = warning.str();
    if (text.ends_with(option)) {
        text.replace(text.size() - option.size(), option.size(), "--any-name");
    }
    return text;
}

void addPattern(std::string_view text,
                const std::string& source,
                const ObjectPathPatternConfig& config,
                Tavik::ObjectPathPatternSet& patterns) {
    std::size_t errorOffset = 0;
    const auto result = Tavik::tryParseObjectPath(text, errorOffset);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        reportMalformed(source + "bad pattern: ", text, *message, errorOffset);
        std::exit(errorStatus);
    }
    const auto& pattern = std::get<ObjectPath>(result);
    for (const Tavik::String& warning : Tavik::patternWarnings(pattern, config)) {
        say(fmt::format("{}warning: {}: {}", source, shown(pattern.toString()), shown(withOptionOfProgram(warning))));
    }
    patterns.add(pattern, config);
}

void addPatternsOfFile(const char* name, const ObjectPathPatternConfig& config, Tavik::ObjectPathPatternSet& patterns) {
    Lines lines(name);
    while (const auto line = lines.next()) {
        const std::string_view text = withoutCarriageReturn(*line);
        if (!text.empty() && text.front() != '#') {
            addPattern(text, fmt::format("{}:{}: ", shown(lines.name()), lines.number()), config, patterns);
        }
    }
    if (lines.error() != 0) {
        fail(fmt::format("{}: {}", shown(lines.name()), std::strerror(lines.error())));
    }
}

}  // namespace

void addPatterns(const PatternSource& source,
                 const ObjectPathPatternConfig& config,
                 Tavik::ObjectPathPatternSet& patterns) {
    if (source.isFile) {
        addPatternsOfFile(source.argument, config, patterns);
    } else {
        addPattern(source.argument, "", config, patterns);
    }
}
