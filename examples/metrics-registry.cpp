// A registry of metrics: counters under paths whose attributes are labels, incremented by several threads, and a sorted
// snapshot of all of them. Reads events, one a line: method, status and handler, separated by spaces.

#include <atomic>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

class Registry {
public:
    /// The counter at a path. It stays where it is, so a thread may keep the reference.
    std::atomic<long>& counter(const ObjectPath& path) {
        const std::lock_guard lock(mutex_);
        return counters_[path];  // hashes two pointers, however long the path is
    }

    /// All counters, a subtree at a time.
    std::map<ObjectPath, long> snapshot() {
        const std::lock_guard lock(mutex_);
        return {counters_.begin(), counters_.end()};
    }

private:
    std::mutex mutex_;
    std::unordered_map<ObjectPath, std::atomic<long>> counters_;
};

void count(Registry& registry, const std::vector<std::string>& events) {
    for (const std::string& event : events) {
        std::istringstream fields(event);
        std::string method, status, handler;
        fields >> method >> status >> handler;
        const ObjectPath requests = ObjectPath().append("requests", {{"method", method}, {"status", status}});
        ++registry.counter(requests);
        ++registry.counter(requests.append(handler));
    }
}

}  // namespace

int main() {
    std::vector<std::string> shares[2];
    for (std::string line; std::getline(std::cin, line);) {
        shares[line.size() % 2].push_back(line);
    }
    Registry registry;
    std::thread other([&] { count(registry, shares[1]); });
    count(registry, shares[0]);
    other.join();

    for (const auto& [path, value] : registry.snapshot()) {
        std::cout << std::string(2 * (path.depth() - 1), ' ') << path.toView().name();
        for (const auto& [label, text] : path.toView().attributeRange()) {
            std::cout << ' ' << label << '=' << text;
        }
        std::cout << ": " << value << '\n';
    }
}
