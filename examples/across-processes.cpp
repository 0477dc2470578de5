// Agree on paths with other processes. The canonical text and the order of paths are the same in every process; hashes
// of paths are not.

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <map>
#include <string_view>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::parseObjectPath;

namespace {

/// Prints `top` and all paths below it. In the order of paths, they are contiguous.
void printBelow(const std::map<ObjectPath, int>& temperatures, const ObjectPath& top) {
    for (auto entry = temperatures.lower_bound(top); entry != temperatures.end(); ++entry) {
        if (!entry->first.startsWith(top)) {
            break;
        }
        std::cout << entry->first << ": " << entry->second << " degrees\n";
    }
}

/// FNV-1a, which is the same in every process.
std::uint64_t stableHash(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3;
    }
    return hash;
}

}  // namespace

int main() {
    // A path comes directly before what lies below it.
    std::vector<ObjectPath> paths;
    for (const std::string_view text : {"/a-c", "/b", "/a/b", "/a[id=3]", "/a"}) {
        paths.push_back(parseObjectPath(text));
    }
    std::sort(paths.begin(), paths.end());
    for (const ObjectPath& path : paths) {
        std::cout << path << '\n';
    }

    const std::map<ObjectPath, int> temperatures = {{parseObjectPath("/rack[id=1]/disk[id=7]"), 31},
                                                    {parseObjectPath("/rack[id=1]/disk[id=8]"), 44},
                                                    {parseObjectPath("/rack[id=2]/disk[id=1]"), 29}};
    printBelow(temperatures, parseObjectPath("/rack[id=1]"));

    // Each server has the paths from its own first one up to the first one of the next server.
    const std::map<ObjectPath, std::string_view> servers = {
        {ObjectPath(), "north"}, {parseObjectPath("/rack[id=2]"), "east"}, {parseObjectPath("/room"), "south"}};
    for (const auto& [path, temperature] : temperatures) {
        std::cout << path << " is on " << std::prev(servers.upper_bound(path))->second << '\n';
    }

    // To spread paths evenly, hash the text.
    const ObjectPath disk = parseObjectPath("/rack[id=1]/disk[id=7]");
    std::cout << disk << " is in shard " << stableHash(disk.toString()) % 16 << '\n';
}
