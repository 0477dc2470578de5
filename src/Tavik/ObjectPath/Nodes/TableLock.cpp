// Waiting for the lock of a table.

#include <Tavik/ObjectPath/Nodes/TableLock.h>

#include <sched.h>

#include <chrono>

#include <Tavik/ObjectPath/Nodes/Trial.h>

namespace Tavik::Impl {
namespace {

/// Whether the thread that holds a lock can run while this one spins.
bool hasSeveralProcessors() noexcept {
    cpu_set_t processors;
    return sched_getaffinity(0, sizeof processors, &processors) != 0 || CPU_COUNT(&processors) > 1;
}

/// Tries a few times to lock. A thread that takes a lock repeatedly keeps its caches warm while others spin, which gets
/// more done than passing the lock on each time. Five microseconds are several times as long as a lock is held.
bool spin(std::mutex& mutex) {
    using Clock = std::chrono::steady_clock;
    constexpr int tries = 32;
    constexpr auto timeAside = std::chrono::microseconds(5);
    for (int i = 0; i < tries; ++i) {
        for (const auto end = Clock::now() + timeAside; Clock::now() < end;) {
            __builtin_ia32_pause();
        }
        if (mutex.try_lock()) {
            return true;
        }
    }
    return false;
}

}  // namespace

void lockContended(std::mutex& mutex) {
    Trial::noteWait();
    if (!hasSeveralProcessors() || !spin(mutex)) {
        mutex.lock();
    }
}

}  // namespace Tavik::Impl
