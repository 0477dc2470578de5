/// @file
/// The pool that lets equal long texts share one buffer. Internal to the core library.

#pragma once

#include <Tavik/Core/String.h>

namespace Tavik::Impl {

/// A set of weak references to the buffers of long texts. A buffer enters the pool when it is created and leaves it
/// with its last owner; the pool owns none. Texts are spread over many shards, each with its own lock, so that threads
/// that work on different texts rarely meet.
///
/// Buffers are chained through their own `next`, so entering the pool never allocates, so it cannot fail.
class StringPool {
public:
    /// A string with the given text, which must be too long to be held inline. Takes the lock of one shard.
    static StrB share(std::string_view text) noexcept;

    /// Removes a buffer that has lost its last owner; the caller then frees it. Takes the lock of one shard.
    static void remove(StrB::Buffer* buffer) noexcept;

    /// Locks and unlocks all shards, the first one first, around a fork.
    static void lockAll() noexcept;
    static void unlockAll() noexcept;

private:
    struct Shard;
    /// Not many: a fork takes all locks, and the thread sanitizer allows a thread no more than 64.
    static constexpr std::size_t shardCount = 16;
    static Shard shards[shardCount];

    static Shard& shardOf(std::size_t hash) noexcept;
};

}  // namespace Tavik::Impl
