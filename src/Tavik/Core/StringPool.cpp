#include <Tavik/Core/StringPool.h>

#include <pthread.h>

#include <cstdlib>

#include <Tavik/Core/ThreadSafety.h>

namespace Tavik::Impl {
namespace {

constexpr std::size_t firstChainCount = 16;

/// Increments the reference count of a buffer, unless it has reached zero already.
bool tryRetain(std::atomic<std::uint32_t>& owners) noexcept {
    std::uint32_t count = owners.load(std::memory_order_relaxed);
    while (count != 0) {
        if (owners.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

}  // namespace

/// A hash table with chaining. Shard and chain are chosen by different bits of the hash.
struct alignas(64) StringPool::Shard {
    Mutex mutex;
    StrB::Buffer** chains TAVIK_GUARDED_BY(mutex) = nullptr;
    std::size_t chainCount TAVIK_GUARDED_BY(mutex) = 0;  // a power of two, or zero before the first string
    std::size_t bufferCount TAVIK_GUARDED_BY(mutex) = 0;

    static std::string_view textOf(StrB::Buffer* buffer) noexcept { return {buffer->bytes(), buffer->capacity}; }

    /// There must be chains.
    StrB::Buffer*& chainOf(std::size_t hash) noexcept TAVIK_REQUIRES(mutex) {
        return chains[hash / shardCount & (chainCount - 1)];
    }

    void link(StrB::Buffer* buffer, std::size_t hash) noexcept TAVIK_REQUIRES(mutex) {
        StrB::Buffer*& first = chainOf(hash);
        buffer->next = std::exchange(first, buffer);
    }

    /// Keeps chains short. Without memory for more chains, the present ones become longer.
    void growIfCrowded() noexcept TAVIK_REQUIRES(mutex) {
        if (bufferCount < chainCount) {
            return;
        }
        const std::size_t count = chainCount == 0 ? firstChainCount : 2 * chainCount;
        auto** grown = static_cast<StrB::Buffer**>(std::calloc(count, sizeof(StrB::Buffer*)));
        if (grown == nullptr) {
            return;
        }
        StrB::Buffer** const old = std::exchange(chains, grown);
        const std::size_t oldCount = std::exchange(chainCount, count);
        for (std::size_t i = 0; i < oldCount; ++i) {
            for (StrB::Buffer* buffer = old[i]; buffer != nullptr;) {
                StrB::Buffer* const next = buffer->next;
                link(buffer, StrB::hashBytes(textOf(buffer)));
                buffer = next;
            }
        }
        std::free(old);
    }

    /// The buffer with the given bytes, with one owner more; null if there is none.
    StrB::Buffer* find(std::string_view text, std::size_t hash) noexcept TAVIK_REQUIRES(mutex) {
        if (chainCount == 0) {
            return nullptr;
        }
        for (StrB::Buffer* buffer = chainOf(hash); buffer != nullptr; buffer = buffer->next) {
            // A buffer that has lost its last owner is about to be removed by a thread that waits for the lock. It is
            // skipped and remains in the chain beside its successor until then.
            if (textOf(buffer) == text && tryRetain(buffer->owners)) {
                return buffer;
            }
        }
        return nullptr;
    }

    /// A new buffer with the given bytes, with one owner; null if there is no memory for it or for the first chains.
    StrB::Buffer* add(std::string_view text, std::size_t hash) noexcept TAVIK_REQUIRES(mutex) {
        growIfCrowded();
        StrB::Buffer* const created = chainCount == 0 ? nullptr : StrB::tryCreateBuffer(text.size());
        if (created != nullptr) {
            std::memcpy(created->bytes(), text.data(), text.size());
            created->pooled = true;
            link(created, hash);
            ++bufferCount;
        }
        return created;
    }
};

// Never destroyed: strings may be released until the process has ended.
constinit StringPool::Shard StringPool::shards[shardCount];

StringPool::Shard& StringPool::shardOf(std::size_t hash) noexcept {
    static_assert(std::is_trivially_destructible_v<Shard>);
    return shards[hash % shardCount];
}

void StringPool::lockAll() noexcept TAVIK_NO_THREAD_SAFETY_ANALYSIS {
    for (Shard& shard : shards) {
        shard.mutex.lock();
    }
}

void StringPool::unlockAll() noexcept TAVIK_NO_THREAD_SAFETY_ANALYSIS {
    for (Shard& shard : shards) {
        shard.mutex.unlock();
    }
}

/// A child inherits the locks as they are at the fork, so no other thread may hold one then. Handlers run in reverse
/// order of registration, so a library that was loaded later and uses this one has taken its locks before.
[[maybe_unused]] static const int forkHandlers =
    pthread_atfork(&StringPool::lockAll, &StringPool::unlockAll, &StringPool::unlockAll);

StrB StringPool::share(std::string_view text) noexcept {
    const std::size_t hash = StrB::hashBytes(text);
    Shard& shard = shardOf(hash);
    StrB::Buffer* buffer = nullptr;
    {
        const LockGuard<Mutex> lock(shard.mutex);
        buffer = shard.find(text, hash);
        if (buffer == nullptr) {
            buffer = shard.add(text, hash);
        }
    }
    if (buffer == nullptr) {
        return StrB(text);  // not shared; reports and aborts if there is no memory for that, either
    }
    StrB shared;
    shared.setBuffer(buffer, text.size());
    return shared;
}

void StringPool::remove(StrB::Buffer* buffer) noexcept {
    const std::size_t hash = StrB::hashBytes(Shard::textOf(buffer));
    Shard& shard = shardOf(hash);
    const LockGuard<Mutex> lock(shard.mutex);
    StrB::Buffer** link = &shard.chainOf(hash);
    while (*link != buffer) {
        link = &(*link)->next;
    }
    *link = buffer->next;
    --shard.bufferCount;
}

}  // namespace Tavik::Impl
