/// @file
/// Internal: the two interning tables, as the units that find, create and release nodes use them.

#pragma once

#include <cstddef>
#include <memory>
#include <mutex>

#include <Tavik/ObjectPath/Nodes/HashMap.h>
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
    std::size_t erased = 0;    // entries since the table was last rebuilt; each may have left a tombstone
    std::size_t reserved = 0;  // slots that the table keeps even when it is nearly empty
};

/// Guarded by `Dedup<T>::mutex_`.
template <typename T>
constinit inline TableUse tableUse;

/// Lets this thread step aside while another one holds the lock of a table, and then waits for it.
void waitAside(std::unique_lock<std::mutex>& lock);

/// Locks the table of `T`. Throws `std::system_error`. The caller must not hold a table's mutex.
template <typename T>
[[nodiscard]] std::unique_lock<std::mutex> lockTable() {
    std::unique_lock lock(Dedup<T>::mutex_, std::try_to_lock);
    if (!lock.owns_lock()) [[unlikely]] {
        waitAside(lock);
    }
    return lock;
}

/// Moves the entries of a table that has become nearly empty to a smaller one, unless slots are reserved. Returns
/// whether it did. The caller must hold `mutex_`.
template <typename T>
bool shrinkTable() noexcept {
    TableUse& use = tableUse<T>;
    const bool isSmaller = shrinkIfNearlyEmpty(Dedup<T>::table_, use.reserved);
    if (isSmaller) {
        use.erased = 0;
    }
    return isSmaller;
}

}  // namespace Tavik::Impl
