// Build the same paths on several threads. Equal content is one node, whichever thread builds it first.

#include <iostream>
#include <mutex>
#include <thread>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

std::size_t countSegments() {
    using Segments = Tavik::Impl::Dedup<Tavik::Impl::Segment>;
    // Without the lock, another thread could create or release a path at the same time.
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
