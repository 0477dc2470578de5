// The interning tables: how nodes are found, created and released.

#include <cstdint>
#include <new>

#include <Tavik/ObjectPath/Interning.h>
#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Wildcards.h>

namespace Tavik::Impl {
namespace {

template <typename T>
using Table = typename Dedup<T>::Table;

/// Storage of a table that nobody destroys: paths are released to the very end of the process.
template <typename T>
union TableStorage {
    constexpr TableStorage() noexcept : none{} {}
    ~TableStorage() {}

    char none;
    Table<T> table;
};

template <typename T>
constinit TableStorage<T> tableStorage;

/// Constructs the tables when the library is loaded, the one of segments first.
[[maybe_unused]] const bool tablesConstructed = [] {
    new (&tableStorage<Segment>.table) Table<Segment>;
    new (&tableStorage<Value>.table) Table<Value>;
    return true;
}();

std::shared_ptr<const Segment>& linkOf(Segment& node) noexcept {
    return node.parent;
}

std::shared_ptr<const Value>& linkOf(Value& node) noexcept {
    return node.previous;
}

/// What the deleter does with a node on this thread: release it at once, or only take note of it, when that node
/// became ownerless by something that the caller up the stack has to finish first.
template <typename T>
struct Release {
    static constinit thread_local bool deferred;
    static constinit thread_local const T* noted;
};

template <typename T>
constinit thread_local bool Release<T>::deferred = false;

template <typename T>
constinit thread_local const T* Release<T>::noted = nullptr;

/// Makes the next insertion free of allocation, which is what makes it free of failure: a hash map that runs out of
/// memory while it inserts or grows is left unusable. So the table grows here, by filling a larger one and swapping.
///
/// An insertion into a table of more than 16 slots allocates only when more than 25/32 of the slots are taken. Below
/// that it at most rehashes in place, to get rid of the marks that erased entries left behind.
///
/// The caller must hold `mutex_`. Throws `std::bad_alloc`, with the table unchanged.
template <typename T>
void makeRoomForOne(Table<T>& table) {
    constexpr std::size_t smallest = 31;
    const std::size_t slots = table.bucket_count();
    if (slots >= smallest && std::uint64_t{table.size()} * 32 <= std::uint64_t{slots} * 25) {
        return;
    }
    // If the larger table cannot be allocated, it owns nothing yet, but its destructor does not know that.
    TableStorage<T> storage;
    Table<T>& larger = *new (&storage.table) Table<T>;
    larger.rehash(slots < smallest ? smallest : 2 * slots + 1);
    larger.merge(table);
    table.swap(larger);
    larger.~Table<T>();
}

/// A new node with its owner. The caller must hold `mutex_`. Throws `std::bad_alloc`, and then nothing is left.
template <typename T>
std::shared_ptr<const T> createNode(T&& content) {
    const T* const node = new T(std::move(content));
    // Without memory for its counts, the owner hands the node to the deleter, which takes the lock that is held here.
    Release<T>::deferred = true;
    try {
        std::shared_ptr<const T> owner(node, &Dedup<T>::deleter);
        Release<T>::deferred = false;
        return owner;
    } catch (...) {
        Release<T>::deferred = false;
        delete std::exchange(Release<T>::noted, nullptr);
        throw;
    }
}

/// Removes the entry of a node that has lost its last owner. The caller must not hold `mutex_`.
///
/// Since then, equal content may have been interned: that made a new node and put it into the entry, and the entry is
/// left to the deleter of that one. Two nodes of one content may both have died before either gets here: the first
/// erases the entry and the second finds none.
template <typename T>
void eraseEntry(const T& node) {
    const std::size_t hash = absl::Hash<T>{}(node);
    const std::lock_guard lock(Dedup<T>::mutex_);
    const auto entry = Dedup<T>::table_.find(node, hash);
    if (entry != Dedup<T>::table_.end() && entry->second.expired()) {
        // This releases an owner of the linked node, but never the last: `node` itself is another one.
        Dedup<T>::table_.erase(entry);
    }
}

}  // namespace

template <typename T>
typename Dedup<T>::Table& Dedup<T>::table_ = tableStorage<T>.table;

template <typename T>
std::mutex Dedup<T>::mutex_;

template <typename T>
std::shared_ptr<const T> internLinked(T& key, const std::shared_ptr<const T>& link) {
    const std::size_t hash = absl::Hash<T>{}(key);
    const std::lock_guard lock(Dedup<T>::mutex_);
    Table<T>& table = Dedup<T>::table_;
    auto entry = table.find(key, hash);
    if (entry == table.end()) {
        linkOf(key) = link;
        T copy = key;
        makeRoomForOne<T>(table);
        entry = table.try_emplace(std::move(copy)).first;
    } else if (std::shared_ptr<const T> living = entry->second.lock()) {
        return living;
    } else {
        linkOf(key) = link;
    }
    std::shared_ptr<const T> created = createNode<T>(std::move(key));
    entry->second = created;
    return created;
}

template std::shared_ptr<const Segment> internLinked(Segment& key, const std::shared_ptr<const Segment>& link);

template <typename T>
std::shared_ptr<const T> Dedup<T>::intern(T key) {
    // `key` outlives the lock: what it still owns must not be released under it.
    return internLinked(key, linkOf(key));
}

/// Releasing a node may release the node it links to, and so on along a chain of any length. To need no stack for that,
/// the deleter of the linked node, which runs while the first node is destroyed, only takes note of its node; the loop
/// here goes on with it. A node has one link, so there is never more than one to note.
template <typename T>
void Dedup<T>::deleter(const T* node) {
    if (Release<T>::deferred) {
        Release<T>::noted = node;
        return;
    }
    while (node != nullptr) {
        eraseEntry<T>(*node);
        Release<T>::deferred = true;
        delete node;
        Release<T>::deferred = false;
        node = std::exchange(Release<T>::noted, nullptr);
    }
}

template struct Dedup<Segment>;
template struct Dedup<Value>;

const Dedup<Segment>::Table& inspectSegmentTable() noexcept {
    return Dedup<Segment>::table_;
}

const Dedup<Value>::Table& inspectValueTable() noexcept {
    return Dedup<Value>::table_;
}

bool Segment::isAnySequence() const noexcept {
    return attributeKeys.empty() && name == anySequence;
}

}  // namespace Tavik::Impl
