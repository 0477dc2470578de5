// Look at the segments of a path: their names, their attributes, and the way up to the root.

#include <iostream>
#include <optional>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::ObjectPathSegment;

int main() {
    const ObjectPath path = Tavik::parseObjectPath("/rack[row=2]/dev[bus=pci][id=3]/port");

    // Cursors change no reference counts. They are valid as long as the path.
    for (const ObjectPath::View level : path.views()) {
        std::cout << level.name() << '\n';
        for (const auto& [key, value] : level.attributeRange()) {
            std::cout << "    " << key << " is " << value << '\n';
        }
    }

    // From the leaf to the root.
    for (ObjectPath::View level = path.toView(); !level.isRoot(); level = level.parent()) {
        if (const Tavik::String* bus = level.attribute("bus")) {
            std::cout << level.path() << " is on the bus " << *bus << '\n';
        }
    }

    // Segments own what they refer to, so they may outlive the path.
    const ObjectPath::Segments segments = Tavik::parseObjectPath("/hall[name=north]/door").explode();
    std::cout << segments.front() << " has a " << segments.back().name() << '\n';

    // The root has neither a leaf nor a parent.
    for (std::optional<ObjectPath> level = path; level; level = level->parent()) {
        const std::optional<ObjectPathSegment> leaf = level->leaf();
        std::cout << (leaf ? leaf->toString() : "the root") << '\n';
    }
}
