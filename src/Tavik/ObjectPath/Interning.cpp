// The interning tables: how nodes are found, created and released.

#include <pthread.h>

#include <cstddef>
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

/// Lets whoever waits for the lock spin for a moment before going to sleep, which would take much longer than the lock
/// is ever held. Where that is refused, the mutex works as before.
void spinBeforeSleeping(std::mutex& mutex) {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) == 0) {
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ADAPTIVE_NP);
        pthread_mutex_init(mutex.native_handle(), &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
}

/// Constructs the tables when the library is loaded, the one of segments first.
[[maybe_unused]] const bool tablesConstructed = [] {
    new (&tableStorage<Segment>.table) Table<Segment>;
    new (&tableStorage<Value>.table) Table<Value>;
    spinBeforeSleeping(Dedup<Segment>::mutex_);
    spinBeforeSleeping(Dedup<Value>::mutex_);
    return true;
}();

std::shared_ptr<const Segment>& linkOf(Segment& node) noexcept {
    return node.parent;
}

std::shared_ptr<const Value>& linkOf(Value& node) noexcept {
    return node.previous;
}

/// Gives up memory that the content of a new node does not need.
void compact(Segment& content) noexcept {
    content.attributeKeys.shrink_to_fit();
}

void compact(Value&) noexcept {}

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

/// The memory of a node and of the counts of its owners, which come first. The deleter destroys the node; the memory
/// goes with the counts, when neither an owner nor the entry in the table refers to them any more.
template <typename T>
struct NodeBlock {
    /// What the counts of a `std::shared_ptr` with a deleter take.
    static constexpr std::size_t countsSize = 32;

    alignas(std::max_align_t) std::byte counts[countsSize];
    alignas(T) std::byte node[sizeof(T)];

    /// The block for which an owner is being constructed. Guarded by `mutex_`.
    static constinit inline NodeBlock* current = nullptr;
};

/// Places the counts of an owner into the current block.
template <typename Counts, typename T>
struct CountsAllocator {
    using value_type = Counts;
    template <typename Other>
    struct rebind {
        using other = CountsAllocator<Other, T>;
    };

    CountsAllocator() = default;
    template <typename Other>
    explicit CountsAllocator(const CountsAllocator<Other, T>&) noexcept {}

    Counts* allocate(std::size_t) noexcept {
        static_assert(sizeof(Counts) <= NodeBlock<T>::countsSize && alignof(Counts) <= alignof(std::max_align_t));
        return reinterpret_cast<Counts*>(NodeBlock<T>::current->counts);
    }
    void deallocate(Counts* counts, std::size_t) noexcept { ::operator delete(counts); }
};

/// A new node with its owner. The caller must hold `mutex_`. Throws `std::bad_alloc`, with `content` unchanged.
///
/// An owner that cannot allocate its counts calls the deleter, which takes the lock that is held here. So one
/// allocation, made before, serves both.
template <typename T>
std::shared_ptr<const T> createNode(T& content) {
    auto* const block = static_cast<NodeBlock<T>*>(::operator new(sizeof(NodeBlock<T>)));
    NodeBlock<T>::current = block;
    compact(content);
    const T* const node = new (block->node) T(std::move(content));
    return std::shared_ptr<const T>(node, &Dedup<T>::deleter, CountsAllocator<T, T>());
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

/// Where a deleter on this thread puts the link of its node, when it was called by `releaseChain` up the stack.
template <typename T>
constinit thread_local std::shared_ptr<const T>* nextLink = nullptr;

/// Releases the link of a node that is gone. If it was the last owner of the next node, that node goes, too, and so on
/// along a chain of any length. To need no stack for that, only the first call on a thread releases anything; the calls
/// that this leads to hand it their links.
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
typename Dedup<T>::Table& Dedup<T>::table_ = tableStorage<T>.table;

template <typename T>
std::mutex Dedup<T>::mutex_;

template <typename T>
std::shared_ptr<const T> internLinked(T& key, const std::shared_ptr<const T>& link) {
    const std::size_t hash = absl::Hash<T>{}(key);
    const std::lock_guard lock(Dedup<T>::mutex_);
    Table<T>& table = Dedup<T>::table_;
    auto entry = table.find(key, hash);
    if (entry != table.end()) {
        if (std::shared_ptr<const T> living = entry->second.lock()) {
            return living;
        }
    }
    linkOf(key) = link;
    if (entry == table.end()) {
        T copy = key;
        makeRoomForOne<T>(table);
        entry = table.try_emplace(std::move(copy)).first;
    }
    std::shared_ptr<const T> created = createNode(key);
    entry->second = created;
    return created;
}

template std::shared_ptr<const Segment> internLinked(Segment& key, const std::shared_ptr<const Segment>& link);

template <typename T>
std::shared_ptr<const T> Dedup<T>::intern(T key) {
    // `key` outlives the lock: what it still owns must not be released under it.
    return internLinked(key, linkOf(key));
}

template <typename T>
void Dedup<T>::deleter(const T* node) {
    eraseEntry(*node);
    // Nodes are created without const.
    std::shared_ptr<const T> link = std::move(linkOf(const_cast<T&>(*node)));
    node->~T();
    releaseChain(std::move(link));
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
    return isBare(*this, anySequence);
}

}  // namespace Tavik::Impl
