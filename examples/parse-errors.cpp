// Read paths from text that may be malformed. Each text yields a path, or a message and the place of the error.

#include <iostream>
#include <string>
#include <string_view>
#include <variant>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

void show(std::string_view text) {
    std::size_t errorOffset = 0;
    const auto result = Tavik::tryParseObjectPath(text, errorOffset);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        const std::size_t caret = Tavik::locateOffset(text, errorOffset).caret;
        std::cout << text << '\n' << std::string(caret, ' ') << "^ " << *message << '\n';
    } else {
        std::cout << text << "  is " << std::get<Tavik::ObjectPath>(result) << '\n';
    }
}

}  // namespace

int main() {
    show("");                          // the root
    show("dev/port/");                 // the first "/" may be missing, a trailing "/" is ignored
    show("/dev[id=3][bus=pci]");       // attributes are ordered by key
    show("/dev[id=3][id=4]");          // of equal keys, the first one wins
    show("/disk[label=a\\]b]/c\\/d");  // a backslash makes the next character literal
    show("//dev");
    show("/dev[id");
    show("/dev[id=3]port");
    show("/h\xc3\xa4user[id=3]port");  // the caret is below the p, although the byte before is one further on
    show("/dev\\");
    show("/dev\\n");
}
