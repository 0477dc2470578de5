// A store of settings: lists a subtree, renames one, and prints the difference between two states. Reads settings, one
// a line: a path, a tab and a value.

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <string>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

using Settings = std::map<ObjectPath, std::string, std::less<>>;  // std::less<> finds subtrees

Settings read(std::istream& input) {
    Settings settings;
    for (std::string line; std::getline(input, line);) {
        const std::size_t tab = std::min(line.find('\t'), line.size());
        const auto parsed = Tavik::tryParseObjectPath(line.substr(0, tab));
        if (const auto* path = std::get_if<ObjectPath>(&parsed)) {
            settings[*path] = line.substr(std::min(tab + 1, line.size()));
        } else {
            std::cerr << std::get<Tavik::String>(parsed) << ": " << line << '\n';
        }
    }
    return settings;
}

void list(const Settings& settings, const ObjectPath& top) {
    const auto [begin, end] = settings.equal_range(Tavik::ObjectPathSubtree{top});
    for (auto setting = begin; setting != end; ++setting) {
        std::cout << "    " << *setting->first.relativeTo(top) << " is " << setting->second << '\n';
    }
}

Settings rename(Settings settings, const ObjectPath& from, const ObjectPath& to) {
    const auto [begin, end] = settings.equal_range(Tavik::ObjectPathSubtree{from});
    Settings moved;
    for (auto setting = begin; setting != end; ++setting) {
        moved[*setting->first.replacePrefix(from, to)] = setting->second;
    }
    settings.erase(begin, end);
    settings.merge(moved);
    return settings;
}

/// Prints the settings that only the first state has.
void printDifference(char sign, const Settings& left, const Settings& right) {
    Settings difference;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(),
                        std::inserter(difference, difference.end()));
    for (const auto& [path, value] : difference) {
        std::cout << sign << ' ' << path << ' ' << value << '\n';
    }
}

}  // namespace

int main() {
    const Settings before = read(std::cin);
    const ObjectPath north = Tavik::parseObjectPath("/host[name=north]");
    std::cout << before.size() << " settings, below " << north << ":\n";
    list(before, north);
    const Settings after = rename(before, north, Tavik::parseObjectPath("/archive/north"));
    printDifference('-', before, after);
    printDifference('+', after, before);
}
