/// @file
/// Internal: the pool that lets equal long strings share one buffer.

#pragma once

#include <Tavik/Core/String.h>

namespace Tavik::Impl {

/// A set of weak references to the buffers of long strings. A buffer enters the pool when it is created and leaves it
/// when its last owner releases it; the pool owns none. Strings are spread over several shards, each with its own lock,
/// so that threads that use different strings rarely wait for each other.
///
/// Buffers are chained through their own `next`, so entering the pool needs no memory. Only the table of chains does:
/// without memory to grow, chains become longer, and without memory for the first ones, strings are not shared.
///
/// Nothing reports or aborts while a lock is held: a handler of SIGABRT may fork, and a fork waits for all locks.
class StringPool {
public:
    /// A string with the bytes of `text`, which must be too long to be held inline. Briefly takes the lock of one
    /// shard. Allocates only if no living string of the pool has these bytes.
    static StrB share(std::string_view text) noexcept;

    /// Removes a buffer that has lost its last owner; the caller then frees it. Briefly takes the lock of one shard.
    static void remove(StrB::Buffer* buffer) noexcept;

    /// Lock and unlock all shards, in their order, around a fork.
    static void lockAll() noexcept;
    static void unlockAll() noexcept;

private:
    struct Shard;
    /// Few, because a fork takes all locks, and the thread sanitizer allows a thread to hold no more than 64.
    static constexpr std::size_t shardCount = 16;
    static Shard shards[shardCount];

    static Shard& shardOf(std::size_t hash) noexcept;
};

}  // namespace Tavik::Impl
