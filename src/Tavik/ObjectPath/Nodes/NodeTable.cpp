// Finding, creating and releasing nodes.
//
// An entry of a table expires when its node loses its last owner. The node's deleter then takes the lock to erase the
// entry. If another thread interns the same content first, it refills the entry with a new node; the deleter finds the
// entry alive and leaves it to the deleter of that node. If both nodes are dead by then, the first deleter erases the
// entry and the second one finds none. In every order the entry is erased once, and never while it refers to a living
// node.
//
// No shared pointer that is destroyed under the lock is the last owner of its node: what an erased entry owns is also
// owned by the node whose deleter erases it, and what the key of a look-up owns outlives the lock. So no deleter runs
// under the lock.

#include <Tavik/ObjectPath/Nodes/NodeTable.h>

#include <Tavik/ObjectPath/Nodes/AbseilTable.h>
#include <Tavik/ObjectPath/Nodes/FoundNodes.h>
#include <Tavik/ObjectPath/Nodes/Keys.h>
#include <Tavik/ObjectPath/Nodes/Trial.h>

namespace Tavik::Impl {

/// Searches what all threads found, if that pays at present.
template <typename T>
[[gnu::always_inline]] inline std::shared_ptr<const T> NodeTable<T>::findFound(const Content& content,
                                                                               std::size_t hash) noexcept {
    std::shared_ptr<const T> node;
    if (Trial::takesLookup()) {
        node = foundNodes<T>.find(content, hash);
        if (node != nullptr) {
            Trial::noteFound();
            RecentNodes::enter(node, hash);
        }
    }
    return node;
}

/// Remembers a node that was found in the table.
template <typename T>
[[gnu::always_inline]] inline void NodeTable<T>::enterFound(const Interned& found, std::size_t hash) noexcept {
    RecentNodes::enter(found.node, hash);
    if (Trial::isOn()) {
        Trial::noteFoundInTable();
        if (!foundNodes<T>.enter(found.node, hash, found.tableSize)) {
            Trial::giveUp();
        }
    }
}

template <typename T>
std::shared_ptr<const T> NodeTable<T>::findNotRecent(const Content& content, std::size_t hash) {
    if (std::shared_ptr<const T> node = findFound(content, hash)) {
        return node;
    }
    const LookUpKey<T> key(content);
    Interned result = findInTable(key.get(), hash);
    if (result.node != nullptr) {
        enterFound(result, hash);
    }
    return std::move(result.node);
}

template <typename T>
std::shared_ptr<const T> NodeTable<T>::findOrCreate(Content& content, std::size_t hash) {
    if (std::shared_ptr<const T> node = findFound(content, hash)) {
        return node;
    }
    T key = keyOf(content);
    Interned result = findOrCreateInTable(key, hash, [&] { linkOf(key) = content.link.takeOwner(); });
    if (!result.isNew) {
        enterFound(result, hash);
    }
    return std::move(result.node);
}

/// Finds the living node equal to `key`; null if there is none. `key` must outlive the lock.
template <typename T>
[[gnu::always_inline]] inline typename NodeTable<T>::Interned NodeTable<T>::findInTable(const T& key,
                                                                                        std::size_t hash) {
    const TableLock<T> lock(mutex_);
    const auto entry = findEntry(table(), key, hash);
    return {entry == table().end() ? nullptr : entry->second.lock(), false, table().size()};
}

/// Finds the living node equal to `key`, or creates it of the content of `key`. If `key` only borrows its link,
/// `ownLink()` makes it an owner before a node is made of it. `key` must outlive the lock.
template <typename T>
template <typename OwnLink>
[[gnu::always_inline]] inline typename NodeTable<T>::Interned NodeTable<T>::findOrCreateInTable(T& key,
                                                                                                std::size_t hash,
                                                                                                OwnLink ownLink) {
    const TableLock<T> lock(mutex_);
    auto entry = findEntry(table(), key, hash);
    const bool isNew = entry == table().end();
    if (!isNew) {
        if (std::shared_ptr<const T> living = entry->second.lock()) {
            return {std::move(living), false, table().size()};
        }
    }
    // Before the entry, so that without memory for the node there is no entry either.
    auto block = std::make_unique_for_overwrite<NodeBlock<T>>();
    ownLink();
    if (isNew) {
        entry = insertEntry(key);
    }
    state_.pending = block.release();
    std::shared_ptr<const T> created = createNode<NodeTable>(*state_.pending, key);
    entry->second = created;
    return {std::move(created), true, table().size()};
}

template <typename T>
std::shared_ptr<const T> NodeTable<T>::intern(T& key) {
    return findOrCreateInTable(key, absl::Hash<T>{}(key), [] {}).node;
}

/// A new entry whose weak reference is empty. Throws `std::bad_alloc`, with the table unchanged.
template <typename T>
[[gnu::always_inline]] inline typename NodeTable<T>::Table::iterator NodeTable<T>::insertEntry(const T& content) {
    T copy = content;
    if (table().bucket_count() >= hugeTable) [[unlikely]] {
        growInsteadOfRehashing();
    }
    if (makeRoomForOne(table())) [[unlikely]] {
        state_.erased = 0;
    }
    return table().try_emplace(std::move(copy)).first;
}

/// Grows a huge table that is more than half full and may be about to be rehashed in place. Throws `std::bad_alloc`,
/// with the table unchanged.
///
/// An erased entry leaves a tombstone if its neighbours fill a whole group of slots, and when entries and tombstones
/// fill the table, an insertion rehashes it in place. Where more than half of the slots are in use, that happens again
/// and again, and takes nearly as long as growing. After growing, hardly any entry leaves a tombstone. A smaller table
/// pauses less, and does not grow: twice the slots cost every operation more misses of the processor's caches.
template <typename T>
[[gnu::noinline, gnu::cold]] void NodeTable<T>::growInsteadOfRehashing() {
    const std::size_t slots = table().bucket_count();
    if (2 * table().size() > slots && isFull(slots, table().size() + state_.erased)) {
        rebuild(table(), 2 * slots + 1);
        state_.erased = 0;
    }
}

/// Shrinks a nearly empty table, as far as slots are not reserved.
template <typename T>
[[gnu::noinline, gnu::cold]] void NodeTable<T>::shrinkIfNearlyEmpty() noexcept {
    if (state_.reservations == 0 && isNearlyEmpty(table()) && shrink(table(), state_.reserved)) {
        state_.erased = 0;
        foundNodes<T>.shrinkLater(table().size());
    }
}

template <typename T>
[[gnu::always_inline]] inline void NodeTable<T>::eraseEntry(const T& node, std::size_t hash) {
    const TableLock<T> lock(mutex_);
    const auto entry = findEntry(table(), node, hash);
    if (entry != table().end() && entry->second.expired()) {
        table().erase(entry);
        ++state_.erased;
        if (isNearlyEmpty(table())) [[unlikely]] {
            shrinkIfNearlyEmpty();
        }
    }
}

/// As above, and takes the node out of those that all threads found. Out of line, because in most programs threads do
/// not meet. If the node is there, a thread entered it before the last owner was released, so there are buckets in use.
template <typename T>
[[gnu::noinline, gnu::cold]] void NodeTable<T>::eraseFoundEntry(const T& node, std::size_t hash) {
    foundNodes<T>.prefetch(hash);
    eraseEntry(node, hash);
    foundNodes<T>.forget(hash);
}

namespace {

/// Where a deleter on this thread leaves the link of its node, if `releaseChain` further up the stack caused its call.
template <typename T>
constinit thread_local std::shared_ptr<const T>* nextLink = nullptr;

}  // namespace

/// Releases the link of a destroyed node. If that was the last owner of the next node, that node is destroyed, too, and
/// so on along a chain of any length. To use constant stack, only the outermost call on a thread releases links; the
/// calls that it causes pass their links to it.
template <typename T>
[[gnu::always_inline]] inline void NodeTable<T>::releaseChain(std::shared_ptr<const T> link) noexcept {
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

template <typename T>
[[gnu::always_inline]] inline void NodeTable<T>::release(const T* node) noexcept {
    const std::size_t hash = absl::Hash<T>{}(*node);
    if (foundNodes<T>.isInUse()) [[unlikely]] {
        eraseFoundEntry(*node, hash);
    } else {
        eraseEntry(*node, hash);
    }
    // Casting const away is defined, because nodes are created without it.
    std::shared_ptr<const T> link = std::move(linkOf(const_cast<T&>(*node)));
    node->~T();
    releaseChain(std::move(link));
}

template <typename T>
void NodeTable<T>::repairAfterFork() noexcept {
    state_.reservations = 0;
    foundNodes<T>.repairAfterFork();
}

template class NodeTable<Segment>;
template class NodeTable<Value>;

template <typename T>
std::shared_ptr<const T> Dedup<T>::intern(T key) {
    return NodeTable<T>::intern(key);
}

template <typename T>
void Dedup<T>::deleter(const T* node) {
    NodeTable<T>::release(node);
}

template std::shared_ptr<const Segment> Dedup<Segment>::intern(Segment key);
template std::shared_ptr<const Value> Dedup<Value>::intern(Value key);
template void Dedup<Segment>::deleter(const Segment* node);
template void Dedup<Value>::deleter(const Value* node);

}  // namespace Tavik::Impl
