#include "Help.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include <Tavik/ObjectPath/Version.h>

#include "Messages.h"
#include "OptionTable.h"
#include "StandardOutput.h"

namespace {

constexpr std::string_view introduction = R"(
Prints the lines of each FILE that hold a path which PATTERN selects. Without a
FILE, or if it is "-", reads standard input.

)";

constexpr std::string_view notes = R"(
In a pattern, the segment ... matches zero or more segments and * exactly one.
Any other segment matches one that has its name and all its attributes; the
value * matches any value. Without -x, every pattern ends in an implied /...

A FIELD is KEY, the value of this attribute in the last segment that has it;
NAME.KEY, the same in segments called NAME; or /NUM, the name of this segment,
from 1 at the root on or from -1 at the leaf. \ comes before a . in a name.

Of --format, --json, -c, -l, -L, -q and --count-by, the last one that is given
has an effect.

A line that is no path is reported on standard error and not selected. The exit
status is 0 if a line was selected, 1 if none was, and 2 on an error, or if no
line was selected and a line was no path.
)";

[[noreturn]] void printAndExit(std::string_view text) {
    write(text);
    flushOutput();
    std::exit(EXIT_SUCCESS);
}

std::string namesOf(const Option& option) {
    const std::string letter = option.letter != '\0' ? fmt::format("-{}, ", option.letter) : std::string(4, ' ');
    return fmt::format("{}--{}{}{}", letter, option.name, option.needsArgument() ? "=" : "",
                       option.hasArgument() ? option.argument : "");
}

}  // namespace

void printHelp() {
    std::string text = fmt::format("{}{}", usage, introduction);
    for (const Option& option : optionTable()) {
        text += fmt::format("  {}\n", namesOf(option));
        for (std::string_view rest = option.help; !rest.empty();) {
            const std::size_t size = std::min(rest.find('\n'), rest.size());
            text += fmt::format("        {}\n", rest.substr(0, size));
            rest.remove_prefix(std::min(size + 1, rest.size()));
        }
    }
    printAndExit(text + std::string(notes));
}

void printVersion() {
    printAndExit("objectpath-grep " TAVIK_OBJECT_PATH_VERSION "\n");
}
