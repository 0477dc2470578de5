// The tours that open the public headers.

#undef NDEBUG  // its assertions are checked in every build
#include <cassert>
#include <iostream>
#include <variant>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/PatternSet.h>

namespace {

void matchManyPatterns() {
    Tavik::ObjectPathPatternSet rules;
    rules.add(Tavik::parseObjectPath("/.../dev[bus=usb]"));  // 0
    rules.add(Tavik::parseObjectPath("/rack/*/port"));       // 1

    const auto path = Tavik::parseObjectPath("/rack/dev[bus=usb]/port");
    assert((rules.match(path) == std::vector<std::size_t>{0, 1}));
    assert(rules.firstMatch(path) == 0 && rules.matchesAny(path));
}

}  // namespace

int main() {
    using Tavik::ObjectPath;

    // Build a path from the root, which is a default-constructed path.
    const ObjectPath device = ObjectPath().append("dev", {{"bus", "pci"}, {"id", "3"}});
    const ObjectPath port = device.append("port");

    // Print it: /dev[bus=pci][id=3]/port
    std::cout << port << '\n';

    // Read untrusted input: the result is a path or a message. To have errors thrown, use parseObjectPathOrThrow.
    // parseObjectPath is for strings that the program knows to be valid: it terminates the process if they are not.
    const auto parsed = Tavik::tryParseObjectPath("/dev[bus=pci][id=3]/port");
    if (const auto* message = std::get_if<Tavik::String>(&parsed)) {
        std::cerr << *message << '\n';
    } else {
        assert(std::get<ObjectPath>(parsed) == port);
    }

    // Navigate, match and sort.
    assert(port.parent() == device && port.startsWith(device));
    assert(*device.leaf()->attribute("bus") == "pci");
    assert(port.matchesPattern(Tavik::parseObjectPath("/dev[bus=*]")));
    assert(device < port);

    matchManyPatterns();
}
