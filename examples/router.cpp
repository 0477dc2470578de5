// Route messages to subscribers that come and go on several threads. The router's own routes belong to its mutex; a
// thread that routes messages holds a copy, which no thread changes. So a match needs no lock, and goes on while
// another thread subscribes: it just does not see the new subscriber yet. Subscribers are told what their wildcards
// matched.

#include <algorithm>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

struct Routes {
    Tavik::ObjectPathPatternSet patterns;
    std::vector<std::string> subscribers;  // of the pattern with the same index
};

class Router {
public:
    /// Returns the index to unsubscribe with. The index of a subscriber who has left is used again.
    std::size_t subscribe(const Tavik::ObjectPath& pattern, const std::string& subscriber) {
        const std::lock_guard lock(mutex_);
        published_.reset();  // threads that hold these routes keep them alive
        const std::size_t index = routes_.patterns.add(pattern);
        routes_.subscribers.resize(std::max(routes_.subscribers.size(), index + 1));
        routes_.subscribers[index] = subscriber;
        return index;
    }

    void unsubscribe(std::size_t index) {
        const std::lock_guard lock(mutex_);
        published_.reset();
        routes_.patterns.remove(index);
    }

    /// The routes of this moment, to hold for one message or for many. Only the first call after a change copies them.
    std::shared_ptr<const Routes> routes() {
        const std::lock_guard lock(mutex_);
        if (published_ == nullptr) {
            published_ = std::make_shared<const Routes>(routes_);
        }
        return published_;
    }

private:
    std::mutex mutex_;
    Routes routes_;                            // guarded by the mutex
    std::shared_ptr<const Routes> published_;  // the pointer is guarded by the mutex; the routes never change
};

/// What each "*" and "..." of a pattern matched, such as "*=hall".
std::string wildcardsOf(const Tavik::ObjectPath& topic, const Tavik::ObjectPath& pattern) {
    std::string text;
    const auto captures = topic.capture(pattern);
    const auto levels = topic.views();
    const auto segments = pattern.views();
    for (std::size_t i = 0; captures && i < captures->size(); ++i) {
        const Tavik::String& wildcard = segments.begin()[i].name();
        if (segments.begin()[i].attributeRange().empty() && (wildcard == "*" || wildcard == "...")) {
            text += ' ' + wildcard.str() + '=';
            for (std::size_t level = 0; level < (*captures)[i].count; ++level) {
                text += (level > 0 ? "/" : "") + levels.begin()[(*captures)[i].first + level].name().str();
            }
        }
    }
    return text;
}

int main() {
    Router router;
    const auto topic = Tavik::parseObjectPath("/site/hall[name=north]/temperature");
    const std::size_t archive = router.subscribe(Tavik::parseObjectPath("/site"), "archive");
    const auto held = router.routes();
    std::thread([&] { router.subscribe(Tavik::parseObjectPath("/*/.../temperature"), "display"); }).join();
    for (const auto& routes : {held, router.routes()}) {
        std::cout << routes->patterns.size() << " in the set, of which these get it:";
        for (const std::size_t index : routes->patterns.match(topic)) {
            std::cout << ' ' << routes->subscribers[index] << wildcardsOf(topic, routes->patterns[index]);
        }
        std::cout << '\n';
    }
    std::vector<std::thread> clients;
    for (const char* name : {"left", "right"}) {
        clients.emplace_back([&router, &topic, name] {
            for (int round = 0; round < 1'000; ++round) {
                router.unsubscribe(router.subscribe(topic, name));
            }
        });
    }
    int archived = 0;
    for (int message = 0; message < 1'000; ++message) {
        archived += router.routes()->patterns.firstMatch(topic) == archive;
    }
    std::for_each(clients.begin(), clients.end(), [](std::thread& client) { client.join(); });
    std::cout << archived << " messages archived, " << router.routes()->patterns.size() << " subscribers left\n";
}
