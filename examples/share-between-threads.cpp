// Build the same paths on several threads. Each piece of content becomes one node, whoever is first.

#include <iostream>
#include <mutex>
#include <thread>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

std::size_t countSegments() {
    using Segments = Tavik::Impl::Dedup<Tavik::Impl::Segment>;
    // Other threads may build and release paths meanwhile, so the table must not be read without its lock.
    const std::lock_guard lock(Segments::mutex_);
    return Segments::table_.size();
}

}  // namespace

int main() {
    std::vector<ObjectPath> paths(4);
    std::vector<std::thread> threads;
    for (ObjectPath& path : paths) {
        // No two threads assign to the same object.
        threads.emplace_back([&path] { path = Tavik::parseObjectPath("/rack[row=2]/dev[id=3]/port"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::cout << std::boolalpha << (paths.front() == paths.back()) << '\n';
    std::cout << countSegments() << " segments\n";
}
