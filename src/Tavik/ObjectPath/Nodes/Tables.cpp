// The interning tables: where they are, who may lock them, and how much room they keep.

#include <Tavik/ObjectPath/Nodes/Tables.h>

#include <pthread.h>

#include <bit>
#include <chrono>
#include <cstdint>
#include <new>
#include <optional>

#include <Tavik/ObjectPath/Nodes/Contention.h>
#include <Tavik/ObjectPath/Nodes/SharedCache.h>

namespace Tavik {
namespace Impl {
namespace {

template <typename T>
constinit TableStorage<typename Dedup<T>::Table> tableStorage;

}  // namespace

/// Constant-initialised, before any code runs: a program may hold the one copy of the reference, in memory that is
/// read-only once the program has been loaded.
template <typename T>
constinit typename Dedup<T>::Table& Dedup<T>::table_ = tableStorage<T>.table;

template <typename T>
std::mutex Dedup<T>::mutex_;

template Dedup<Segment>::Table& Dedup<Segment>::table_;
template Dedup<Value>::Table& Dedup<Value>::table_;
template std::mutex Dedup<Segment>::mutex_;
template std::mutex Dedup<Value>::mutex_;

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

void resumeInChild() noexcept {
    sharedCache<Segment>.resumeAfterFork();
    sharedCache<Value>.resumeAfterFork();
    unlockBoth();
}

/// Runs when the library is loaded.
[[maybe_unused]] const bool tablesPrepared = [] {
    new (&tableStorage<Segment>.table) Dedup<Segment>::Table;
    new (&tableStorage<Value>.table) Dedup<Value>::Table;
    spinBeforeSleeping(Dedup<Segment>::mutex_);
    spinBeforeSleeping(Dedup<Value>::mutex_);
    return pthread_atfork(&lockBoth, &unlockBoth, &resumeInChild) == 0;
}();

}  // namespace

/// A thread that takes a lock again and again continues with warm caches while others are aside. That gets more done
/// than passing the lock on each time. Queueing for the lock, in the end, bounds how long this thread waits.
void waitAside(std::mutex& mutex) {
    using Clock = std::chrono::steady_clock;
    constexpr int tries = 32;
    constexpr auto timeAside = std::chrono::microseconds(5);
    Contention::noteWait();
    for (int i = 0; i < tries; ++i) {
        for (const auto end = Clock::now() + timeAside; Clock::now() < end;) {
            __builtin_ia32_pause();
        }
        if (mutex.try_lock()) {
            return;
        }
    }
    mutex.lock();
}

namespace {

/// Room that a table is about to get. Nothing changes before `commit`.
template <typename T>
class Reservation {
    using Table = typename Dedup<T>::Table;

public:
    /// For `nodes` nodes. Throws `std::bad_alloc` and `std::system_error`.
    explicit Reservation(std::size_t nodes) : slots_(slotsFor(nodes)) {
        if (slots_ > currentSlots()) {
            larger_.emplace(slots_);
        }
    }

    /// Makes the room. What has to be freed is freed without the lock, by the destructor.
    void commit() {
        const TableLock<T> lock;
        Table& table = Dedup<T>::table_;
        tableUse<T>.reserved = slots_;
        if (larger_.has_value() && larger_->slots() > table.bucket_count()) {
            larger_->replace(table);
            tableUse<T>.erased = 0;
        } else if (isNearlyEmpty(table)) {
            shrinkTable<T>();
        }
    }

private:
    /// Twice the nodes, so that tombstones are rare and the table is never rehashed in place.
    static std::size_t slotsFor(std::size_t nodes) {
        if (nodes > PTRDIFF_MAX / 8 / sizeof(typename Table::value_type)) {
            throw std::bad_alloc();
        }
        return nodes == 0 ? 0 : 2 * std::bit_ceil(nodes) - 1;
    }

    static std::size_t currentSlots() {
        const TableLock<T> lock;
        return Dedup<T>::table_.bucket_count();
    }

    std::size_t slots_;
    std::optional<SpareTable<Table>> larger_;
};

}  // namespace

const Dedup<Segment>::Table& inspectSegmentTable() noexcept {
    return Dedup<Segment>::table_;
}

const Dedup<Value>::Table& inspectValueTable() noexcept {
    return Dedup<Value>::table_;
}

}  // namespace Impl

void ObjectPath::reserve(std::size_t segments, std::size_t values) {
    Impl::Reservation<Impl::Segment> ofSegments(segments);
    Impl::Reservation<Impl::Value> ofValues(values);
    ofSegments.commit();
    ofValues.commit();
}

}  // namespace Tavik
