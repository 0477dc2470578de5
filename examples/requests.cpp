// Serve untrusted requests: what nobody has stored is looked for without creating it. Requests are lines such as
// "put /rack[id=1]/fan 3000" and "get /rack[id=1]/fan".

#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <unordered_map>
#include <variant>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

class Store {
public:
    /// Parses: a path that is to be kept is created, so its text has to be short and right.
    std::string put(const std::string& text, const std::string& value) {
        if (text.size() > 1'000) {
            return "error: too long";
        }
        const auto parsed = Tavik::tryParseObjectPath(text);
        if (const auto* message = std::get_if<Tavik::String>(&parsed)) {
            return "error: " + message->str();
        }
        values_[std::get<ObjectPath>(parsed)] = value;
        return "stored";
    }

    /// Finds: a path that is nowhere in the process is no key, and asking for it creates nothing.
    std::string get(const std::string& text) const {
        const std::optional<ObjectPath> path = Tavik::findObjectPath(text);
        const auto found = path ? values_.find(*path) : values_.end();
        return found != values_.end() ? found->second : "unknown";
    }

private:
    std::unordered_map<ObjectPath, std::string> values_;
};

}  // namespace

int main() {
    Store store;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream fields(line);
        std::string verb, path, value;
        fields >> verb >> path >> value;
        std::cout << path << ": " << (verb == "put" ? store.put(path, value) : store.get(path)) << " ("
                  << Tavik::Impl::inspectSegmentTable().size() << " segments)\n";
    }
}
