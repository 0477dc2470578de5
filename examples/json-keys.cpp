// Write and read JSON objects whose keys are paths. A map of paths would become an array of pairs, since only strings
// are keys of JSON objects.

#include <iostream>
#include <map>

#include <nlohmann/json.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

int main() {
    const std::map<ObjectPath, int> limits = {{Tavik::parseObjectPath("/rack[id=1]/fan"), 3000},
                                              {Tavik::parseObjectPath("/rack[id=2]"), 45}};

    auto object = nlohmann::json::object();
    for (const auto& [path, limit] : limits) {
        object[path.toString().str()] = limit;
    }
    std::cout << object.dump() << '\n';

    std::map<ObjectPath, int> read;
    for (const auto& [text, limit] : object.items()) {
        read[Tavik::parseObjectPathOrThrow(text)] = limit;
    }
    std::cout << std::boolalpha << (read == limits) << '\n';
}
