// Answers to common questions, a function for each: the code of the page of recipes.

#include <memory>
#include <string>

#include <Tavik/ObjectPath/ObjectPathFwd.h>

class Registry {
public:
    Registry();
    ~Registry();
    void add(const Tavik::ObjectPath& path);
    bool has(const Tavik::ObjectPath& path) const;

private:
    struct Paths;
    std::unique_ptr<Paths> paths_;
};

#include <algorithm>
#include <future>
#include <iostream>
#include <map>
#include <set>
#include <variant>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/PatternSet.h>

using Tavik::ObjectPath;
using Tavik::parseObjectPath;

struct Registry::Paths {
    std::set<ObjectPath> all;
};
Registry::Registry() : paths_(std::make_unique<Paths>()) {}
Registry::~Registry() = default;
void Registry::add(const ObjectPath& path) {
    paths_->all.insert(path);
}
bool Registry::has(const ObjectPath& path) const {
    return paths_->all.count(path) != 0;
}

namespace {

void iterateOverLevels() {
    const ObjectPath path = parseObjectPath("/rack[row=2]/dev[bus=pci][id=3]/port");
    for (const ObjectPath::View level : path.views()) {
        std::cout << level.name() << ':';
        for (const auto& [key, value] : level.attributeRange()) {
            std::cout << ' ' << key << '=' << value;
        }
        std::cout << '\n';
    }
}

void findValueAtAnyLevel() {
    const ObjectPath path = parseObjectPath("/rack[row=2]/dev[bus=pci][id=3]/port");
    if (const Tavik::String* bus = path.attribute("bus")) {
        std::cout << "on the bus " << *bus << '\n';
    }
}

void changeOneAttribute() {
    const ObjectPath request = parseObjectPath("/api/request[status=503][user=9]");
    const ObjectPath kind = request.withoutAttribute("user").withAttribute("status", "5xx");
    std::cout << kind << '\n';  // /api/request[status=5xx]
}

void useLiterals() {
    using namespace Tavik::literals;
    const ObjectPath& devices = "/rack[row=2]/dev"_path;
    std::cout << devices / "port" << '\n';
}

void takeAttributesFromMap() {
    const std::map<std::string, std::string> labels = {{"method", "GET"}, {"status", "200"}};
    const ObjectPath counter = ObjectPath().append("requests", labels);
    std::cout << counter << '\n';  // /requests[method=GET][status=200]
}

void showPlaceOfError() {
    const std::string file = "/dev[id=3]\n/h\xc3\xa4user[id=3\n";
    const std::size_t begin = file.find('\n') + 1;
    std::size_t errorOffset = 0;
    const auto result = Tavik::tryParseObjectPath(file.substr(begin, file.size() - 1 - begin), errorOffset);
    if (const auto* message = std::get_if<Tavik::String>(&result)) {
        const Tavik::ObjectPathTextPosition place = Tavik::locateOffset(file, begin + errorOffset);
        std::cout << place.line << ':' << place.column << ": " << *message << '\n'
                  << place.lineText << '\n'
                  << std::string(place.caret, ' ') << "^\n";
    }
}

void convertFileNames() {
    const ObjectPath path = ObjectPath().appendNames("/usr/bin/[");
    std::cout << path << '\n';  // /usr/bin/\[

    Tavik::ObjectPathStringConfig plain;
    plain.escapeNames = false;
    std::cout << path.toString(plain) << '\n';  // /usr/bin/[
}

void captureWildcards() {
    const ObjectPath path = parseObjectPath("/site/hall/host[name=north]/disk/sector");
    const ObjectPath pattern = parseObjectPath("/.../host[name=*]/*");
    if (const auto captures = path.capture(pattern)) {
        const ObjectPath::Views levels = path.views();
        const ObjectPath::View host = levels[(*captures)[1].first];
        const ObjectPath::View part = levels[(*captures)[2].first];
        std::cout << *host.attribute("name") << ": " << part.name() << '\n';  // north: disk
    }
}

void selectExactly() {
    const ObjectPath path = parseObjectPath("/dev[id=3]/port");
    Tavik::ObjectPathPatternConfig exact;
    exact.wholePath = true;
    std::cout << path.matchesPattern(parseObjectPath("/dev[id=*]"), exact) << '\n';    // 0
    std::cout << path.matchesPattern(parseObjectPath("/dev[id=*]/*"), exact) << '\n';  // 1

    Tavik::ObjectPathPatternSet rules;
    rules.add(parseObjectPath("/dev[id=*]"), exact);
    rules.add(parseObjectPath("/dev"));
    std::cout << rules.match(path).size() << " rule\n";
}

void selectAnyName() {
    const ObjectPath path = parseObjectPath("/pci/0000:01[driver=nvme]/queue");
    Tavik::ObjectPathPatternConfig anyName;
    anyName.anyNameWithAttributes = true;
    std::cout << path.matchesPattern(parseObjectPath("/.../*[driver=nvme]"), anyName) << '\n';  // 1
}

void iterateOverSet() {
    Tavik::ObjectPathPatternSet rules;
    for (const char* pattern : {"/dev", "/rack", "/dev/*"}) {
        rules.add(parseObjectPath(pattern));
    }
    rules.remove(1);
    for (const auto& [index, pattern] : rules) {
        std::cout << index << ": " << pattern << '\n';
    }
}

void keepTheOrderOfAdding() {
    Tavik::ObjectPathPatternSet rules;
    for (const char* pattern : {"/dev", "/rack"}) {
        rules.addLast(parseObjectPath(pattern));
    }
    rules.remove(0);
    std::cout << rules.addLast(parseObjectPath("/rack/*")) << '\n';        // 2, while add would give 0
    std::cout << *rules.firstMatch(parseObjectPath("/rack/fan")) << '\n';  // 1
}

void decideByPriority() {
    Tavik::ObjectPathPatternSet rules;
    std::vector<int> priorities;
    const auto add = [&](const char* pattern, int priority) {
        const std::size_t index = rules.add(parseObjectPath(pattern));
        priorities.resize(std::max(priorities.size(), index + 1));
        priorities[index] = priority;
    };
    add("/dev", 20);
    add("/dev/port", 10);
    priorities[0] = 5;  // may change at any time

    const std::vector<std::size_t> matches = rules.match(parseObjectPath("/dev/port"));
    const auto first = std::min_element(matches.begin(), matches.end(), [&](std::size_t left, std::size_t right) {
        return priorities[left] < priorities[right];
    });
    std::cout << (first == matches.end() ? "no rule" : rules[*first].toString()) << '\n';  // /dev
}

void printTree(const std::set<ObjectPath>& paths) {
    ObjectPath last;
    for (const ObjectPath& path : paths) {
        const ObjectPath::Views levels = path.views();
        for (std::size_t depth = path.commonPrefix(last).depth(); depth < levels.size(); ++depth) {
            std::cout << std::string(2 * depth, ' ') << levels[depth] << '\n';
        }
        last = path;
    }
}

void groupAndCount(const std::set<ObjectPath>& paths) {
    std::map<ObjectPath, int> counts;
    for (const ObjectPath& path : paths) {
        ++counts[path.prefix(1)];
    }
    for (const auto& [group, count] : counts) {
        std::cout << count << " below " << group << '\n';
    }
}

void listSubtree(const std::set<ObjectPath, std::less<>>& paths) {
    const ObjectPath top = parseObjectPath("/rack[id=1]");
    const auto [begin, end] = paths.equal_range(Tavik::ObjectPathSubtree{top});
    for (auto path = begin; path != end; ++path) {
        std::cout << *path->relativeTo(top) << '\n';
    }
}

void runTasks() {
    const ObjectPath device = parseObjectPath("/dev[id=3]");
    std::vector<std::future<ObjectPath>> results;
    for (const char* port : {"left", "right"}) {
        results.push_back(std::async(std::launch::async, [device, port] { return device / port; }));
    }
    for (std::future<ObjectPath>& result : results) {
        std::cout << result.get() << '\n';
    }
}

void loadWithoutPauses() {
    ObjectPath::reserve(1'000'000, 3'000'000);  // nodes of segments, and of values
    std::vector<ObjectPath> paths;
    for (int id = 0; id < 3; ++id) {
        paths.push_back(ObjectPath().append("disk", {{"id", std::to_string(id)}}));
    }
    std::cout << Tavik::Impl::inspectSegmentTable().size() << " nodes of segments\n";
    ObjectPath::reserve(0, 0);
}

}  // namespace

int main() {
    Registry registry;
    registry.add(parseObjectPath("/dev"));
    std::cout << registry.has(parseObjectPath("/dev")) << '\n';

    iterateOverLevels();
    findValueAtAnyLevel();
    changeOneAttribute();
    useLiterals();
    takeAttributesFromMap();
    showPlaceOfError();
    convertFileNames();
    captureWildcards();
    selectExactly();
    selectAnyName();
    iterateOverSet();
    keepTheOrderOfAdding();
    decideByPriority();
    std::set<ObjectPath> paths;
    for (const char* text : {"/rack[id=1]/disk[id=7]", "/rack[id=1]/disk[id=8]/sector", "/rack[id=2]/fan", "/hall"}) {
        paths.insert(parseObjectPath(text));
    }
    printTree(paths);
    groupAndCount(paths);
    listSubtree({paths.begin(), paths.end()});
    runTasks();
    loadWithoutPauses();
}
