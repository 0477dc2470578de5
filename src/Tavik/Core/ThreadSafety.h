/// @file
/// Internal: lets clang check which lock guards what. The warnings are those of `-Wthread-safety`; other compilers see
/// nothing of this.

#pragma once

#include <mutex>

#ifdef __clang__
#define TAVIK_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define TAVIK_THREAD_SAFETY(attribute)
#endif

/// A class whose objects are locks.
#define TAVIK_CAPABILITY(name) TAVIK_THREAD_SAFETY(capability(name))
/// A class whose objects hold a lock for as long as they live.
#define TAVIK_SCOPED_CAPABILITY TAVIK_THREAD_SAFETY(scoped_lockable)
/// Data that is accessed only while the lock is held.
#define TAVIK_GUARDED_BY(lock) TAVIK_THREAD_SAFETY(guarded_by(lock))
/// The caller of the function must hold the lock.
#define TAVIK_REQUIRES(...) TAVIK_THREAD_SAFETY(requires_capability(__VA_ARGS__))
/// The caller of the function must not hold the lock.
#define TAVIK_EXCLUDES(...) TAVIK_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
/// The function takes the lock.
#define TAVIK_ACQUIRE(...) TAVIK_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
/// The function takes the lock if it returns the first argument.
#define TAVIK_TRY_ACQUIRE(...) TAVIK_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))
/// The function releases the lock.
#define TAVIK_RELEASE(...) TAVIK_THREAD_SAFETY(release_capability(__VA_ARGS__))
/// The function locks in ways that cannot be checked.
#define TAVIK_NO_THREAD_SAFETY_ANALYSIS TAVIK_THREAD_SAFETY(no_thread_safety_analysis)

namespace Tavik::Impl {

/// A mutex that the compiler checks.
class TAVIK_CAPABILITY("mutex") Mutex {
public:
    void lock() TAVIK_ACQUIRE() { mutex_.lock(); }
    void unlock() TAVIK_RELEASE() { mutex_.unlock(); }

private:
    std::mutex mutex_;
};

/// Holds a lock for as long as it lives.
template <typename Lockable>
class TAVIK_SCOPED_CAPABILITY LockGuard {
public:
    /// Throws what locking throws.
    explicit LockGuard(Lockable& lock) TAVIK_ACQUIRE(lock) : lock_(lock) { lock.lock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;
    ~LockGuard() TAVIK_RELEASE() { lock_.unlock(); }

private:
    Lockable& lock_;
};

}  // namespace Tavik::Impl
