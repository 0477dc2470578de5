// Find the patterns that select a path, and what they matched.

#include <iostream>
#include <string_view>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::parseObjectPath;

namespace {

/// Prints the levels of a path that the segments of a pattern matched.
void printCaptures(const ObjectPath& path, const ObjectPath& pattern) {
    if (const auto captures = path.capture(pattern)) {
        const auto levels = path.views();
        for (const auto& [first, count] : *captures) {
            for (std::size_t i = first; i < first + count; ++i) {
                std::cout << levels.begin()[i].name() << ' ';
            }
        }
    }
    Tavik::ObjectPathPatternConfig whole;
    whole.wholePath = true;
    if (path.matchesPattern(pattern, whole)) {
        std::cout << path << " and nothing below it\n";
    }
}

}  // namespace

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
    printCaptures(parseObjectPath("/rack/dev[bus=pci][id=3]/port"), parseObjectPath("/.../port"));
}
