// The interning tables: how nodes are found, created and released.
//
// A table has one entry for each content of a node: a copy of the content, which owns what the node links to, and a
// weak reference to the node. Every living node has its entry; an entry without a living node has expired.
//
// An entry expires when its node loses its last owner. The node's deleter then takes the lock to erase the entry. If
// another thread interns the same content first, it refills the entry with a new node; the deleter finds the entry
// alive and leaves it to the deleter of that node. If both nodes are dead by then, the first deleter erases the entry
// and the second one finds none. In every order the entry is erased once, and never while it refers to a living node.
//
// The lock protects a table and the weak references in it. No owner of a node that is released under the lock is the
// last one: what an erased entry owns is also owned by the node whose deleter erases it, and what the key of a look-up
// owns outlives the lock. So no deleter runs under the lock.

#include <Tavik/ObjectPath/Nodes/Interning.h>

#include <pthread.h>

#include <cstddef>

#include <Tavik/ObjectPath/Nodes/NodeBlock.h>
#include <Tavik/ObjectPath/Nodes/NodeCache.h>
#include <Tavik/ObjectPath/Nodes/Table.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {
namespace {

template <typename T>
using Table = typename Dedup<T>::Table;

std::shared_ptr<const Segment>& linkOf(Segment& node) noexcept {
    return node.parent;
}

std::shared_ptr<const Value>& linkOf(Value& node) noexcept {
    return node.previous;
}

/// A new entry whose weak reference is empty. The caller must hold `mutex_`.
/// Throws `std::bad_alloc`, with the table unchanged.
template <typename T>
typename Table<T>::iterator insertEntry(const T& content) {
    T copy = content;
    makeRoomForOne(Dedup<T>::table_);
    return Dedup<T>::table_.try_emplace(std::move(copy)).first;
}

/// As `Dedup<T>::intern`, with the hash of `key`. A key that does not own its link gets to own it by `ownLink()`. Takes
/// the content of `key` for a new node. `key` must outlive the lock.
template <typename T, typename OwnLink>
std::shared_ptr<const T> internKey(T& key, std::size_t hash, OwnLink ownLink) {
    std::unique_lock lock(Dedup<T>::mutex_);
    auto entry = findEntry(Dedup<T>::table_, key, hash);
    const bool isNew = entry == Dedup<T>::table_.end();
    if (!isNew) {
        if (std::shared_ptr<const T> living = entry->second.lock()) {
            lock.unlock();
            NodeCache::enter(living, hash);
            return living;
        }
    }
    // Before the entry, so that without memory for the node there is no entry either.
    auto block = std::make_unique_for_overwrite<NodeBlock<T>>();
    ownLink();
    if (isNew) {
        entry = insertEntry(key);
    }
    std::shared_ptr<const T> created = createNode(std::move(block), key);
    entry->second = created;
    return created;
}

/// Points at the linked node without owning it, so that looking a node up does not change a reference count.
template <typename T>
std::shared_ptr<const T> borrow(const LinkRef<T>& link) noexcept {
    return std::shared_ptr<const T>(std::shared_ptr<const T>(), link.get());
}

Segment keyOf(const SegmentContent& content) {
    Segment key{content.name.dedup(), {}, borrow(content.link)};
    key.attributeKeys.reserve(content.attributes.size());
    for (const auto& [attributeKey, value] : content.attributes) {
        key.attributeKeys.push_back(attributeKey.dedup());
    }
    return key;
}

Value keyOf(const ValueContent& content) {
    return {content.value.dedup(), borrow(content.link)};
}

template <typename Content>
auto internContent(const Content& content, std::size_t hash) {
    auto key = keyOf(content);
    return internKey(key, hash, [&] { linkOf(key) = content.link.take(); });
}

/// Removes the entry of a node that has lost its last owner, unless it refers to a successor. The caller must not hold
/// `mutex_`.
template <typename T>
void eraseEntry(const T& node) {
    const std::size_t hash = absl::Hash<T>{}(node);
    const std::lock_guard lock(Dedup<T>::mutex_);
    const auto entry = findEntry(Dedup<T>::table_, node, hash);
    if (entry != Dedup<T>::table_.end() && entry->second.expired()) {
        Dedup<T>::table_.erase(entry);
        shrinkIfNearlyEmpty(Dedup<T>::table_);
    }
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

std::shared_ptr<const Segment> intern(const SegmentContent& content, std::size_t hash) {
    return internContent(content, hash);
}

std::shared_ptr<const Value> intern(const ValueContent& content, std::size_t hash) {
    return internContent(content, hash);
}

template <typename T>
std::shared_ptr<const T> Dedup<T>::intern(T key) {
    return internKey(key, absl::Hash<T>{}(key), [] {});
}

template <typename T>
void Dedup<T>::deleter(const T* node) {
    eraseEntry(*node);
    // Casting const away is defined, because nodes are created without it.
    std::shared_ptr<const T> link = std::move(linkOf(const_cast<T&>(*node)));
    node->~T();
    releaseChain(std::move(link));
}

namespace {

template <typename T>
constinit TableStorage<Table<T>> tableStorage;

}  // namespace

/// Constant-initialised, before any code runs: a program may hold the one copy of the reference, in memory that is
/// read-only once the program has been loaded.
template <typename T>
constinit typename Dedup<T>::Table& Dedup<T>::table_ = tableStorage<T>.table;

template <typename T>
std::mutex Dedup<T>::mutex_;

template struct Dedup<Segment>;
template struct Dedup<Value>;

namespace {

/// Lets a thread that waits for the lock spin before it sleeps, because sleeping takes much longer than the lock is
/// usually held. Where that is not supported, the mutex is left as it is.
void spinBeforeSleeping(std::mutex& mutex) {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) == 0) {
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ADAPTIVE_NP);
        pthread_mutex_init(mutex.native_handle(), &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
}

/// A child inherits the mutexes as they are at the fork, so no other thread may hold one then. In the library, only
/// this thread holds both. A program that reads the tables may lock both in either order, so this never waits for one
/// while it holds the other. The core library takes the locks of its pool after these.
void lockBoth() noexcept {
    std::lock(Dedup<Segment>::mutex_, Dedup<Value>::mutex_);
}

void unlockBoth() noexcept {
    Dedup<Value>::mutex_.unlock();
    Dedup<Segment>::mutex_.unlock();
}

/// Runs when the library is loaded.
[[maybe_unused]] const bool tablesPrepared = [] {
    new (&tableStorage<Segment>.table) Dedup<Segment>::Table;
    new (&tableStorage<Value>.table) Dedup<Value>::Table;
    spinBeforeSleeping(Dedup<Segment>::mutex_);
    spinBeforeSleeping(Dedup<Value>::mutex_);
    return pthread_atfork(&lockBoth, &unlockBoth, &unlockBoth) == 0;
}();

}  // namespace

const Dedup<Segment>::Table& inspectSegmentTable() noexcept {
    return Dedup<Segment>::table_;
}

const Dedup<Value>::Table& inspectValueTable() noexcept {
    return Dedup<Value>::table_;
}

void TAVIK_OBJECT_PATH_ABSEIL_LAYOUT() noexcept {}

void TAVIK_OBJECT_PATH_STANDARD_LAYOUT() noexcept {}

void layoutOfAbseil(const absl::flat_hash_map<int, int>* /*unused*/) noexcept {}

}  // namespace Tavik::Impl
