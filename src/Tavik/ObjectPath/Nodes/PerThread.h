/// @file
/// Internal: an object for each thread, which the thread can do without.

#pragma once

#include <pthread.h>

#include <new>

namespace Tavik::Impl {

/// The `T` of the present thread, which is destroyed when the thread ends.
///
/// Not a `thread_local` object: the process would abort when there is no memory to register its destructor. Destructors
/// of other data of the thread may run later, and do without the object.
template <typename T>
class PerThread {
public:
    /// Null before `getOrCreate` has created it and after it has been destroyed.
    [[nodiscard]] static T* get() noexcept { return object; }

    /// Allocates the object if there is none. Null without memory for it, and after it has been destroyed.
    [[nodiscard]] static T* getOrCreate() noexcept {
        if (object == nullptr) {
            create();
        }
        return object;
    }

private:
    [[gnu::noinline, gnu::cold]] static void create() noexcept {
        if (isDestroyed || !hasKey) {
            return;
        }
        object = new (std::nothrow) T;
        if (object != nullptr && pthread_setspecific(key, object) != 0) {
            delete object;
            object = nullptr;
        }
    }

    static void destroy(void* ended) noexcept {
        isDestroyed = true;
        object = nullptr;
        delete static_cast<T*>(ended);
    }

    static constinit inline pthread_key_t key = 0;
    /// Set when the library is loaded, and false until then: a caller that comes earlier does without an object.
    static inline const bool hasKey = pthread_key_create(&key, &destroy) == 0;
    static constinit inline thread_local T* object = nullptr;
    static constinit inline thread_local bool isDestroyed = false;
};

}  // namespace Tavik::Impl
