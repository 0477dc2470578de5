// Find out which patterns of a set select which paths.

#include <initializer_list>
#include <iostream>
#include <string_view>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::parseObjectPath;

namespace {

/// A pattern is closed by "..." here, once, because matching would otherwise append that at every call.
std::vector<ObjectPath> closedPatterns(std::initializer_list<std::string_view> texts) {
    std::vector<ObjectPath> patterns;
    for (const std::string_view text : texts) {
        patterns.push_back(parseObjectPath(text).append("..."));
    }
    return patterns;
}

}  // namespace

int main() {
    const std::vector<ObjectPath> patterns =
        closedPatterns({"/dev", "/dev[bus=pci]", "/dev[bus=*]/port", "/*/port", "/.../port", "/.../port/*"});

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
