// Releasing nodes.
//
// An entry of a table expires when its node loses its last owner. The node's deleter then takes the lock to erase the
// entry. If another thread interns the same content first, it refills the entry with a new node; the deleter finds the
// entry alive and leaves it to the deleter of that node. If both nodes are dead by then, the first deleter erases the
// entry and the second one finds none. In every order the entry is erased once, and never while it refers to a living
// node.

#include <Tavik/ObjectPath/Nodes/SharedCache.h>
#include <Tavik/ObjectPath/Nodes/Tables.h>

namespace Tavik::Impl {
namespace {

/// Removes the entry of a node that has lost its last owner, unless it refers to a successor. The caller must not hold
/// `mutex_`.
template <typename T>
[[gnu::always_inline]] inline void eraseEntry(const T& node, std::size_t hash) {
    const TableLock<T> lock;
    const auto entry = findEntry(Dedup<T>::table_, node, hash);
    if (entry != Dedup<T>::table_.end() && entry->second.expired()) {
        Dedup<T>::table_.erase(entry);
        ++tableUse<T>.erased;
        if (isNearlyEmpty(Dedup<T>::table_)) [[unlikely]] {
            shrinkTable<T>();
        }
    }
}

/// As above, and takes the node out of the shared cache. Out of line, because most programs do not use that cache. If
/// the node is in it, a thread entered it before the last owner was released, and so the cache is seen to be in use.
template <typename T>
[[gnu::noinline, gnu::cold]] void eraseShared(const T& node, std::size_t hash) {
    sharedCache<T>.prefetch(hash);
    eraseEntry(node, hash);
    sharedCache<T>.forget(hash);
}

/// Where a deleter on this thread leaves the link of its node, if `releaseChain` further up the stack caused its call.
template <typename T>
constinit thread_local std::shared_ptr<const T>* nextLink = nullptr;

/// Releases the link of a destroyed node. If that was the last owner of the next node, that node is destroyed, too, and
/// so on along a chain of any length. To use constant stack, only the outermost call on a thread releases links; the
/// calls that it causes pass their links to it.
template <typename T>
void releaseChain(std::shared_ptr<const T> link) noexcept {
    if (nextLink<T> != nullptr) {
        *nextLink<T> = std::move(link);
        return;
    }
    std::shared_ptr<const T> next;
    nextLink<T> = &next;
    while (link != nullptr) {
        link.reset();
        link.swap(next);
    }
    nextLink<T> = nullptr;
}

}  // namespace

template <typename T>
void Dedup<T>::deleter(const T* node) {
    const std::size_t hash = absl::Hash<T>{}(*node);
    if (sharedCache<T>.isInUse()) [[unlikely]] {
        eraseShared(*node, hash);
    } else {
        eraseEntry(*node, hash);
    }
    // Casting const away is defined, because nodes are created without it.
    std::shared_ptr<const T> link = std::move(linkOf(const_cast<T&>(*node)));
    node->~T();
    releaseChain(std::move(link));
}

template void Dedup<Segment>::deleter(const Segment* node);
template void Dedup<Value>::deleter(const Value* node);

}  // namespace Tavik::Impl
