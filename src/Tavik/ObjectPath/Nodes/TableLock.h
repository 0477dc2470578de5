/// @file
/// Internal: the lock of a table of nodes, in a form that the compiler can check.

#pragma once

#include <mutex>

#include <Tavik/Core/ThreadSafety.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// Locks a mutex that another thread holds: spins for up to 160 µs, unless the process may use one processor only, and
/// then blocks. Throws `std::system_error`.
void lockContended(std::mutex& mutex);

/// Stands for `Dedup<T>::mutex_`, which is part of the ABI and has a type that the compiler does not check.
template <typename T>
class TAVIK_CAPABILITY("mutex") TableMutex {
public:
    /// Throws `std::system_error`.
    void lock() const TAVIK_ACQUIRE() {
        if (!Dedup<T>::mutex_.try_lock()) [[unlikely]] {
            lockContended(Dedup<T>::mutex_);
        }
    }
    void unlock() const noexcept TAVIK_RELEASE() { Dedup<T>::mutex_.unlock(); }
};

/// Holds the lock of the table of `T`. A thread must not lock a table while it holds the lock of one.
template <typename T>
using TableLock = LockGuard<const TableMutex<T>>;

}  // namespace Tavik::Impl
