// Decide by an access list: of thousands of rules, the first one that selects a path wins.
// Rules are lines such as "allow /dev/port" or "deny /dev" in a file.

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

using Tavik::ObjectPath;

namespace {

struct AccessList {
    Tavik::ObjectPathPatternSet patterns;
    std::vector<bool> allows;  // whether the rule with the pattern of the same index allows access
};

[[noreturn]] void fail(std::string_view reason) {
    std::cerr << "access-list: " << reason << '\n';
    std::exit(EXIT_FAILURE);
}

ObjectPath parse(std::string_view text) {
    const auto result = Tavik::tryParseObjectPath(text);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        fail(*message);
    }
    return std::get<ObjectPath>(result);
}

AccessList readRules(std::istream& in) {
    AccessList list;
    for (std::string line; std::getline(in, line);) {
        const std::string_view decision = std::string_view(line).substr(0, line.find(' '));
        if (decision.size() == line.size() || (decision != "allow" && decision != "deny")) {
            fail("a rule must be allow or deny, a space and a pattern");
        }
        list.patterns.add(parse(line.substr(decision.size() + 1)));
        list.allows.push_back(decision == "allow");
    }
    return list;
}

}  // namespace

int main(int argc, char** argv) {
    std::ifstream file(argc == 2 ? argv[1] : "");
    if (!file) {
        fail("usage: access-list RULES < PATHS");
    }
    const AccessList list = readRules(file);
    ObjectPath path;  // kept until the next one has been parsed, which mostly shares nodes with it
    for (std::string text; std::getline(std::cin, text);) {
        path = parse(text);
        // Without a rule, access is denied.
        const std::optional<std::size_t> rule = list.patterns.firstMatch(path);
        const bool isAllowed = rule && list.allows[*rule];
        std::cout << (isAllowed ? "allow " : "deny  ") << path;
        if (rule) {
            std::cout << " because of " << list.patterns[*rule];
        }
        std::cout << '\n';
    }
}
