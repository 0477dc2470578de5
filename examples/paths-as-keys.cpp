// Use paths as keys of hash maps. Hashing and testing for equality look at two pointers, however long the path is.

#include <iostream>
#include <unordered_map>

#include <absl/container/flat_hash_map.h>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::parseObjectPath;

int main() {
    absl::flat_hash_map<ObjectPath, int> temperatures;
    temperatures[parseObjectPath("/rack[id=1]/disk[id=7]")] = 31;
    temperatures[parseObjectPath("/rack[id=1]/disk[id=8]")] = 44;

    // It does not matter whether a key was parsed or built: equal content is an equal key.
    const ObjectPath disk = ObjectPath().append("rack", {{"id", "1"}}).append("disk", {{"id", "8"}});
    std::cout << disk << ": " << temperatures.at(disk) << " degrees\n";

    // Add up the temperatures in each rack.
    std::unordered_map<ObjectPath, int> sums;
    for (const auto& [path, temperature] : temperatures) {
        sums[*path.parent()] += temperature;
    }
    const ObjectPath rack = parseObjectPath("/rack[id=1]");
    std::cout << rack << ": " << sums.at(rack) << " degrees in all\n";
}
