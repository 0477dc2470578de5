// Decide by an access list: of thousands of rules, the first one that selects a path wins. Rules are lines such as
// "allow /dev/port" or "deny /dev" in a file. They change while the program runs: among the paths on standard input,
// "+ deny /dev" adds a rule after all others, and "- /dev" removes one.

#include <algorithm>
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

/// Adds a rule after all others. `add` could give it the index of a removed rule, so that it would win over older ones.
void append(AccessList& list, std::string_view rule) {
    const std::string_view decision = rule.substr(0, rule.find(' '));
    if (decision.size() == rule.size() || (decision != "allow" && decision != "deny")) {
        fail("a rule must be allow or deny, a space and a pattern");
    }
    const std::size_t index = list.patterns.addLast(parse(rule.substr(decision.size() + 1)));
    list.allows.resize(index + 1);
    list.allows[index] = decision == "allow";
}

void remove(AccessList& list, std::string_view pattern) {
    const std::optional<std::size_t> index = list.patterns.find(parse(pattern));
    if (!index) {
        fail("there is no such rule");
    }
    list.patterns.remove(*index);
}

void decide(const AccessList& list, const ObjectPath& path) {
    // Without a rule, access is denied.
    const std::optional<std::size_t> rule = list.patterns.firstMatch(path);
    const bool isAllowed = rule && list.allows[*rule];
    std::cout << (isAllowed ? "allow " : "deny  ") << path;
    if (rule) {
        std::cout << " because of " << list.patterns[*rule];
        // The most specific rule may be another one than people expect: /tenant is more specific than /.../secrets.
        const std::vector<std::size_t> rules = list.patterns.match(path);
        const std::size_t other =
            *std::min_element(rules.begin(), rules.end(), [&](std::size_t left, std::size_t right) {
                return isMoreSpecific(list.patterns[left], list.patterns[right]);
            });
        if (list.allows[other] != isAllowed) {
            std::cout << ", against the most specific rule, " << list.patterns[other];
        }
    }
    std::cout << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    std::ifstream file(argc == 2 ? argv[1] : "");
    if (!file) {
        fail("usage: access-list RULES < PATHS");
    }
    AccessList list;
    for (std::string rule; std::getline(file, rule);) {
        append(list, rule);
    }
    ObjectPath path;  // kept until the next one has been parsed, which mostly shares nodes with it
    for (std::string line; std::getline(std::cin, line);) {
        const std::string_view argument = std::string_view(line).substr(std::min<std::size_t>(2, line.size()));
        if (line.rfind("+ ", 0) == 0) {
            append(list, argument);
        } else if (line.rfind("- ", 0) == 0) {
            remove(list, argument);
        } else {
            path = parse(line);
            decide(list, path);
        }
    }
    std::cout << "the rules are now:\n";
    for (const auto& [index, pattern] : list.patterns) {
        std::cout << index << (list.allows[index] ? " allow " : " deny ") << pattern << '\n';
    }
}
