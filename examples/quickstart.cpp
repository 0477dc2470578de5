// Build, print, parse, compare and match paths.

#include <iostream>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

int main() {
    // A default-constructed path is the root. Appending returns a new path.
    const ObjectPath device = ObjectPath().append("dev", {{"bus", "pci"}, {"id", "3"}});
    const ObjectPath port = device / "port";
    std::cout << port << '\n';  // /dev[bus=pci][id=3]/port

    // Untrusted input may be malformed: the result is a path or a message.
    const auto result = Tavik::tryParseObjectPath("/dev[id=3][bus=pci]/port");
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        std::cerr << *message << '\n';
        return 1;
    }
    const ObjectPath parsed = std::get<ObjectPath>(result);

    std::cout << std::boolalpha;
    std::cout << (parsed == port) << '\n';           // true, in whatever order attributes are given
    std::cout << parsed.startsWith(device) << '\n';  // true
    std::cout << (parsed.parent() == device) << '\n';

    // A pattern is a path, too.
    const ObjectPath pattern = Tavik::parseObjectPath("/.../dev[bus=*]");
    std::cout << parsed.matchesPattern(pattern) << '\n';  // true
}
