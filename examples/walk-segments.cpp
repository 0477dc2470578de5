// Look at the segments of a path: their names, their attributes, and the way up to the root.

#include <iostream>
#include <optional>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::ObjectPathSegment;

int main() {
    const ObjectPath path = Tavik::parseObjectPath("/rack[row=2]/dev[bus=pci][id=3]/port");

    for (const ObjectPathSegment& segment : path.explode()) {
        std::cout << segment.name() << '\n';
        for (const auto& [key, value] : segment.attributeRange()) {
            std::cout << "    " << key << " is " << value << '\n';
        }
    }

    // A cursor walks to the root without changing reference counts.
    for (ObjectPath::View level = path.toView(); !level.isRoot(); level = level.parent()) {
        if (const Tavik::String* bus = level.attribute("bus")) {
            std::cout << level.path() << " is on the bus " << *bus << '\n';
        }
    }

    // The root has neither a leaf nor a parent.
    for (std::optional<ObjectPath> level = path; level; level = level->parent()) {
        const std::optional<ObjectPathSegment> leaf = level->leaf();
        std::cout << (leaf ? leaf->toString() : "the root") << '\n';
    }
}
