/// @file
/// Internal: the two interning tables, as the units that find, create and release nodes use them.

#pragma once

#include <cstddef>
#include <memory>
#include <mutex>

#include <Tavik/ObjectPath/Nodes/HashMap.h>
#include <Tavik/ObjectPath/Nodes/SharedCache.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// The node that a node owns.
/// @{
inline std::shared_ptr<const Segment>& linkOf(Segment& node) noexcept {
    return node.parent;
}
inline std::shared_ptr<const Value>& linkOf(Value& node) noexcept {
    return node.previous;
}
/// @}

/// What is known of a table besides its entries.
struct TableUse {
    std::size_t erased = 0;    // entries since the table was last rebuilt
    std::size_t reserved = 0;  // slots that the table keeps even when it is nearly empty
};

/// Guarded by `Dedup<T>::mutex_`.
template <typename T>
constinit inline TableUse tableUse;

/// The number of slots from which on rehashing a table in place takes several milliseconds.
inline constexpr std::size_t hugeTable = 500'000;

/// Grows a huge table that is more than half full and may be about to be rehashed in place. The caller must hold
/// `mutex_`. Throws `std::bad_alloc`, with the table unchanged.
///
/// An erased entry leaves a tombstone if its neighbours fill a whole group of slots, and when entries and tombstones
/// fill the table, an insertion rehashes it in place. Where more than half of the slots are in use, that happens again
/// and again, and takes nearly as long as growing. After growing, hardly any entry leaves a tombstone. A smaller table
/// pauses less, and does not grow: twice the slots cost every operation more misses of the processor's caches.
template <typename T>
[[gnu::noinline, gnu::cold]] void growInsteadOfRehashing() {
    typename Dedup<T>::Table& table = Dedup<T>::table_;
    const std::size_t slots = table.bucket_count();
    if (2 * table.size() > slots && isFull(slots, table.size() + tableUse<T>.erased)) {
        rebuild(table, 2 * slots + 1);
        tableUse<T>.erased = 0;
    }
}

/// Shrinks a nearly empty table, as far as slots are not reserved. The caller must hold `mutex_`.
template <typename T>
[[gnu::noinline, gnu::cold]] void shrinkTable() noexcept {
    if (shrink(Dedup<T>::table_, tableUse<T>.reserved)) {
        tableUse<T>.erased = 0;
        sharedCache<T>.wishFor(Dedup<T>::table_.size());
    }
}

/// Locks a mutex that another thread holds: lets this thread step aside a few times, and then wait for it.
void waitAside(std::mutex& mutex);

/// Holds the lock of the table of `T`. A thread must not lock a table while it holds the lock of one.
template <typename T>
class TableLock {
public:
    /// Throws `std::system_error`.
    TableLock() {
        if (!Dedup<T>::mutex_.try_lock()) [[unlikely]] {
            waitAside(Dedup<T>::mutex_);
        }
    }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
    ~TableLock() { Dedup<T>::mutex_.unlock(); }
};

}  // namespace Tavik::Impl
