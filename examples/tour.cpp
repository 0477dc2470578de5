// The tour that opens the public header.

#undef NDEBUG  // its assertions are checked in every build
#include <cassert>
#include <iostream>
#include <variant>

#include <Tavik/ObjectPath/ObjectPath.h>

int main() {
    using Tavik::ObjectPath;

    // Build a path from the root, which is a default-constructed path.
    const ObjectPath device = ObjectPath().append("dev", {{"bus", "pci"}, {"id", "3"}});
    const ObjectPath port = device.append("port");

    // Print it: /dev[bus=pci][id=3]/port
    std::cout << port << '\n';

    // Read untrusted input. The result is either a path or a message.
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
}
