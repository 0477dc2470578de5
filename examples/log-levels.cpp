// Levels of loggers: of the rules that select a logger, the most specific one decides. A logger without a rule of its
// own inherits from the nearest ancestor with a rule, because a pattern also selects all paths below those that it
// matches. Rules are lines such as "info /net" in a file, in any order; of two rules with equal patterns, the last one
// counts.

#include <algorithm>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

using Tavik::ObjectPath;

namespace {

struct Rule {
    std::string level;
    ObjectPath pattern;
};

class Levels {
public:
    explicit Levels(std::vector<Rule> rules) : rules_(std::move(rules)) {
        std::reverse(rules_.begin(), rules_.end());  // the last one of equal patterns comes first
        std::stable_sort(rules_.begin(), rules_.end(), [](const Rule& left, const Rule& right) {
            return Tavik::isMoreSpecific(left.pattern, right.pattern);
        });
        for (const Rule& rule : rules_) {
            patterns_.add(rule.pattern);
        }
    }

    /// The rule that decides for a logger; null if none selects it.
    [[nodiscard]] const Rule* ruleOf(const ObjectPath& logger) const {
        const std::optional<std::size_t> first = patterns_.firstMatch(logger);
        return first ? &rules_[*first] : nullptr;
    }

private:
    std::vector<Rule> rules_;  // the most specific one first
    Tavik::ObjectPathPatternSet patterns_;
};

Levels readLevels(std::istream& in) {
    std::vector<Rule> rules;
    std::string level;
    std::string pattern;
    while (in >> level && std::getline(in >> std::ws, pattern)) {
        rules.push_back({level, Tavik::parseObjectPathOrThrow(pattern)});
    }
    return Levels(std::move(rules));
}

}  // namespace

int main(int argc, char** argv) {
    std::ifstream file(argc == 2 ? argv[1] : "");
    if (!file) {
        std::cerr << "usage: log-levels RULES < LOGGERS\n";
        return 1;
    }
    try {
        const Levels levels = readLevels(file);
        ObjectPath logger;  // kept until the next one has been parsed, which mostly shares nodes with it
        for (std::string text; std::getline(std::cin, text);) {
            logger = Tavik::parseObjectPathOrThrow(text);
            const Rule* rule = levels.ruleOf(logger);
            std::cout << logger << ": " << (rule == nullptr ? "off" : rule->level);
            rule == nullptr ? std::cout << '\n' : std::cout << " because of " << rule->pattern << '\n';
        }
    } catch (const Tavik::ObjectPathError& error) {
        std::cerr << "log-levels: " << error.what() << '\n';
        return 1;
    }
}
