// Paths in JSON and as flags of a program: reads limits of sensors from JSON, and writes those below a path.
//
// Abseil and the JSON library find how paths are read and written by themselves.

#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <vector>

#include <absl/flags/flag.h>
#include <absl/flags/parse.h>
#include <nlohmann/json.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

ABSL_FLAG(ObjectPath, under, ObjectPath(), "the path below which limits are listed");

struct Limit {
    ObjectPath sensor;
    std::int64_t maximum = 0;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Limit, sensor, maximum)

int main(int argc, char** argv) {
    const std::vector<char*> arguments = absl::ParseCommandLine(argc, argv);
    if (arguments.size() != 2) {
        std::cerr << "usage: json-and-flags [--under=PATH] FILE\n";
        return 2;
    }
    std::ifstream file(arguments[1]);
    try {
        nlohmann::json below = nlohmann::json::array();
        for (const auto& limit : nlohmann::json::parse(file).get<std::vector<Limit>>()) {
            if (limit.sensor.startsWith(absl::GetFlag(FLAGS_under))) {
                below.push_back(limit);
            }
        }
        std::cout << below.dump(2) << '\n';
    } catch (const Tavik::ObjectPathError& error) {
        std::cerr << "not a path, at byte " << error.offset() << ": " << error.what() << '\n';
        return 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
