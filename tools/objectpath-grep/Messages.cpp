#include "Messages.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <tuple>

#include <fmt/format.h>

namespace {

/// Text for a terminal, and the number of columns that it takes.
struct Shown {
    std::string text;
    std::size_t columns = 0;
};

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

}  // namespace

std::string shown(std::string_view bytes) {
    return show(bytes).text;
}

void say(std::string_view message) {
    sayLine(fmt::format("objectpath-grep: {}", message));
}

void sayLine(std::string_view line) {
    // One write for the line, so that those of other programs do not come in between.
    const std::string text = fmt::format("{}\n", line);
    std::ignore = std::fwrite(text.data(), 1, text.size(), stderr);
}

void fail(std::string_view message) {
    say(message);
    std::exit(errorStatus);
}

void failUsage(std::string_view message) {
    say(message);
    sayLine(fmt::format("{}Try 'objectpath-grep --help' for more.", usage));
    std::exit(errorStatus);
}

void reportMalformed(std::string_view source,
                     std::string_view text,
                     std::string_view message,
                     std::size_t errorOffset) {
    const std::size_t column = show(text.substr(0, errorOffset)).columns;
    say(fmt::format("{}{}\n    {}\n    {:{}}^", source, shown(message), shown(text), "", column));
}
