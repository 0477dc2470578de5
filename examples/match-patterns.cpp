// Find the patterns that select a path.

#include <iostream>
#include <string_view>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::parseObjectPath;

int main() {
    std::vector<ObjectPath> patterns;
    for (const std::string_view text :
         {"/dev", "/dev[bus=pci]", "/dev[bus=*]/port", "/*/port", "/.../port", "/.../port/*"}) {
        patterns.push_back(parseObjectPath(text));
    }

    for (const std::string_view text :
         {"/dev", "/dev[bus=usb]/port", "/rack/dev[bus=pci][id=3]/port", "/dev[bus=pci]/port/1"}) {
        const ObjectPath path = parseObjectPath(text);
        std::cout << path << '\n';
        for (const ObjectPath& pattern : patterns) {
            if (path.matchesPattern(pattern)) {
                std::cout << "    " << pattern << '\n';
            }
        }
    }
}
