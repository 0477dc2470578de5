// When recent nodes are allocated and freed.

#include <Tavik/ObjectPath/RecentNodes.h>

#include <new>

namespace Tavik::Impl {
namespace {

/// Whether this thread has freed its recent nodes. Destructors that run later use the table.
constinit thread_local bool hasEnded = false;

}  // namespace

const std::optional<pthread_key_t> RecentNodes::threadEnd = [] {
    pthread_key_t key;
    return pthread_key_create(&key, &close) == 0 ? std::optional(key) : std::nullopt;
}();

void RecentNodes::open() noexcept {
    if (hasEnded || !threadEnd.has_value()) {
        return;
    }
    auto* const opened = new (std::nothrow) RecentNodes;
    if (opened != nullptr && pthread_setspecific(*threadEnd, opened) != 0) {
        delete opened;
        return;
    }
    ofThread = opened;
}

void RecentNodes::close(void* recentNodes) noexcept {
    hasEnded = true;
    ofThread = nullptr;
    delete static_cast<RecentNodes*>(recentNodes);
}

}  // namespace Tavik::Impl
