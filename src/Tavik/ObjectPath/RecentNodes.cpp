// Creating and destroying the recent nodes of a thread.

#include <Tavik/ObjectPath/RecentNodes.h>

#include <new>

namespace Tavik::Impl {
namespace {

/// Whether the recent nodes of this thread have been destroyed. Destructors that run later use the table.
constinit thread_local bool isDestroyed = false;

}  // namespace

const std::optional<pthread_key_t> RecentNodes::destroyAtThreadEnd = [] {
    pthread_key_t key;
    return pthread_key_create(&key, &destroy) == 0 ? std::optional(key) : std::nullopt;
}();

void RecentNodes::create() noexcept {
    if (isDestroyed || !destroyAtThreadEnd.has_value()) {
        return;
    }
    auto* const created = new (std::nothrow) RecentNodes;
    if (created != nullptr && pthread_setspecific(*destroyAtThreadEnd, created) != 0) {
        delete created;
        return;
    }
    ofThread = created;
}

void RecentNodes::destroy(void* recentNodes) noexcept {
    isDestroyed = true;
    ofThread = nullptr;
    delete static_cast<RecentNodes*>(recentNodes);
}

}  // namespace Tavik::Impl
