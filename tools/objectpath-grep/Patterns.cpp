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

namespace {

void addPattern(std::string_view text, const std::string& source, Tavik::ObjectPathPatternSet& patterns) {
    std::size_t errorOffset = 0;
    const auto result = Tavik::tryParseObjectPath(text, errorOffset);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        reportMalformed(source + "bad pattern: ", text, *message, errorOffset);
        std::exit(errorStatus);
    }
    const auto& pattern = std::get<ObjectPath>(result);
    for (const Tavik::String& warning : Tavik::patternWarnings(pattern)) {
        say(fmt::format("{}warning: {}: {}", source, shown(pattern.toString()), shown(warning)));
    }
    patterns.add(pattern);
}

void addPatternsOfFile(const char* name, Tavik::ObjectPathPatternSet& patterns) {
    Lines lines(name);
    while (const auto line = lines.next()) {
        const std::string_view text = withoutCarriageReturn(*line);
        if (!text.empty() && text.front() != '#') {
            addPattern(text, fmt::format("{}:{}: ", shown(lines.name()), lines.number()), patterns);
        }
    }
    if (lines.error() != 0) {
        fail(fmt::format("{}: {}", shown(lines.name()), std::strerror(lines.error())));
    }
}

}  // namespace

void addPatterns(const PatternSource& source, Tavik::ObjectPathPatternSet& patterns) {
    if (source.isFile) {
        addPatternsOfFile(source.argument, patterns);
    } else {
        addPattern(source.argument, "", patterns);
    }
}
