// The interning tables: how nodes are found, created and released.
//
// A table has one entry for each content of a node: a copy of the content, which owns what the node links to, and a
// weak reference to the node. Every living node has its entry; an entry without a living node has expired.
//
// An entry expires when its node loses its last owner. The node's deleter then takes the lock to erase the entry. If
// another thread interns the same content first, it refills the entry with a new node; the deleter finds the entry
// alive and leaves it to the deleter of that node. If both nodes are dead by then, the first deleter erases the entry
// and the second one finds none. In every order the entry is erased once, and never while it refers to a living node.
// An entry for which no node could be allocated waits for the next interning of its content.
//
// The lock protects a table and the weak references in it. No owner of a node that is released under the lock is the
// last one: what an erased entry owns is also owned by the node whose deleter erases it, and what the key of a look-up
// owns outlives the lock. So no deleter runs under the lock.

#include <Tavik/ObjectPath/Interning.h>

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <new>

#include <absl/base/config.h>

#include <Tavik/ObjectPath/NodeBlock.h>
#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/RecentNodes.h>
#include <Tavik/ObjectPath/Wildcards.h>

namespace Tavik::Impl {
namespace {

template <typename T>
using Table = typename Dedup<T>::Table;

/// Storage of a table that is never destroyed, or only explicitly.
template <typename T>
union TableStorage {
    constexpr TableStorage() noexcept : none{} {}
    ~TableStorage() {}

    char none;
    Table<T> table;
};

template <typename T>
constinit TableStorage<T> tableStorage;

}  // namespace

/// Initialised by the linker, not when the library is loaded: a program may hold the one copy of the reference in
/// memory that is read-only by then.
template <typename T>
constinit typename Dedup<T>::Table& Dedup<T>::table_ = tableStorage<T>.table;

template <typename T>
std::mutex Dedup<T>::mutex_;

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
    new (&tableStorage<Segment>.table) Table<Segment>;
    new (&tableStorage<Value>.table) Table<Value>;
    spinBeforeSleeping(Dedup<Segment>::mutex_);
    spinBeforeSleeping(Dedup<Value>::mutex_);
    return pthread_atfork(&lockBoth, &unlockBoth, &unlockBoth) == 0;
}();

std::shared_ptr<const Segment>& linkOf(Segment& node) noexcept {
    return node.parent;
}

std::shared_ptr<const Value>& linkOf(Value& node) noexcept {
    return node.previous;
}

#if defined(ABSL_LTS_RELEASE_VERSION) && ABSL_LTS_RELEASE_VERSION <= 20240722
constexpr bool findsByHash = true;
#else  // Newer series deprecate the overload that takes the hash.
constexpr bool findsByHash = false;
#endif

/// The entry with the given content, or the end of the table. The caller must hold `mutex_`.
template <typename T>
typename Table<T>::iterator findEntry(const T& content, [[maybe_unused]] std::size_t hash) {
    if constexpr (findsByHash) {
        return Dedup<T>::table_.find(content, hash);
    } else {
        return Dedup<T>::table_.find(content);
    }
}

/// Makes the next insertion free of allocation, which is what makes it free of failure: a hash map that runs out of
/// memory while it inserts or grows is left unusable. So the table grows here, by filling a larger one and swapping.
///
/// An insertion into a table of more than 16 slots allocates only when more than 25/32 of the slots are in use. Newer
/// series of Abseil leave five slots out of that number. Below it, an insertion at most rehashes in place, to drop the
/// tombstones of erased entries. Only under the address sanitizer do newer series also rehash at random, into new
/// memory, to find bugs in programs.
///
/// The caller must hold `mutex_`. Throws `std::bad_alloc`, with the table unchanged.
template <typename T>
void makeRoomForOne(Table<T>& table) {
    constexpr std::size_t smallest = 31;
    constexpr std::size_t leftOut = 5;
    const std::size_t slots = table.bucket_count();
    if (slots >= smallest && std::uint64_t{table.size()} * 32 <= std::uint64_t{slots - leftOut} * 25) {
        return;
    }
    // When the larger table cannot be allocated, its destructor would free memory that was never allocated, so it must
    // not run.
    TableStorage<T> storage;
    Table<T>& larger = *new (&storage.table) Table<T>;
    larger.rehash(slots < smallest ? smallest : 2 * slots + 1);
    larger.merge(table);
    table.swap(larger);
    larger.~Table<T>();
}

/// A new entry whose weak reference is empty. The caller must hold `mutex_`.
/// Throws `std::bad_alloc`, with the table unchanged.
template <typename T>
typename Table<T>::iterator insertEntry(const T& content) {
    T copy = content;
    makeRoomForOne<T>(Dedup<T>::table_);
    return Dedup<T>::table_.try_emplace(std::move(copy)).first;
}

/// As `Dedup<T>::intern`, with the hash of `key`, and with a link of `key` that may be borrowed from `link`, which may
/// refer to the link of `key` itself. Takes the content of `key` for a new node. `key` must outlive the lock.
template <typename T>
std::shared_ptr<const T> internKey(T& key, const LinkRef<T>& link, std::size_t hash) {
    std::unique_lock lock(Dedup<T>::mutex_);
    auto entry = findEntry(key, hash);
    const bool isNew = entry == Dedup<T>::table_.end();
    if (!isNew) {
        if (std::shared_ptr<const T> living = entry->second.lock()) {
            lock.unlock();
            RecentNodes::enter(living, hash);
            return living;
        }
    }
    linkOf(key) = link.take();
    if (isNew) {
        entry = insertEntry(key);
    }
    std::shared_ptr<const T> created = createNode(key);
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
auto internContent(const Content& content) {
    const std::size_t hash = absl::Hash<Content>{}(content);
    if (auto recent = RecentNodes::find(content, hash)) {
        return recent;
    }
    auto key = keyOf(content);
    return internKey(key, content.link, hash);
}

/// Removes the entry of a node that has lost its last owner, unless it refers to a successor. The caller must not hold
/// `mutex_`.
template <typename T>
void eraseEntry(const T& node) {
    const std::size_t hash = absl::Hash<T>{}(node);
    const std::lock_guard lock(Dedup<T>::mutex_);
    const auto entry = findEntry(node, hash);
    if (entry != Dedup<T>::table_.end() && entry->second.expired()) {
        Dedup<T>::table_.erase(entry);
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

std::shared_ptr<const Segment> intern(const SegmentContent& content) {
    return internContent(content);
}

std::shared_ptr<const Value> intern(const ValueContent& content) {
    return internContent(content);
}

template <typename T>
std::shared_ptr<const T> Dedup<T>::intern(T key) {
    return internKey<T>(key, linkOf(key), absl::Hash<T>{}(key));
}

template <typename T>
void Dedup<T>::deleter(const T* node) {
    eraseEntry(*node);
    // Casting const away is defined, because nodes are created without it.
    std::shared_ptr<const T> link = std::move(linkOf(const_cast<T&>(*node)));
    node->~T();
    releaseChain(std::move(link));
}

template struct Dedup<Segment>;
template struct Dedup<Value>;

void TAVIK_OBJECT_PATH_ABSEIL_LAYOUT() noexcept {}

void TAVIK_OBJECT_PATH_STANDARD_LAYOUT() noexcept {}

const Dedup<Segment>::Table& inspectSegmentTable() noexcept {
    return Dedup<Segment>::table_;
}

const Dedup<Value>::Table& inspectValueTable() noexcept {
    return Dedup<Value>::table_;
}

bool Segment::isAnySequence() const noexcept {
    return isBare(*this, anySequence);
}

}  // namespace Tavik::Impl
