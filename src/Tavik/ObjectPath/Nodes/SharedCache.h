/// @file
/// Internal: the node cache that all threads share, in which threads that meet at the lock of a table find nodes
/// without that lock.
///
/// The cache keeps weak references to nodes in buckets of one cache line: three references, each with a tag of 32 bits
/// of its node's hash, and a lock. A word of marks for each bucket, in an array of its own, holds a few more bits for
/// each reference. Looking at the marks alone shows that most nodes that are not in the cache are not.
///
/// **Nothing waits.** A lock is only ever tried, and a busy bucket counts as an empty one. A thread that is stopped
/// inside a bucket, or a fork at that moment, makes one bucket useless until the thread continues, and hangs nobody.
///
/// **What is found is right**, whatever is in a bucket. A node never changes, so its content is compared while it is
/// owned, and a weak reference that can be locked refers to the one living node of its content.
///
/// **No data race.** References and tags are accessed only under the lock of their bucket; everything else is atomic.
///
/// **Size.** Address space for the largest cache is reserved when the first node is entered, and is never given back. A
/// mask says how many buckets are in use, and follows the size of the table. To resize the cache, a thread stores the
/// new mask and then moves what does not belong into a bucket any more. A thread that still has the old mask may have
/// locked the bucket, but looks at the mask again before it enters a node. Either it sees the new mask and enters
/// nothing, or the bucket is found locked and left as it is: the accesses are sequentially consistent. Pages that are
/// not used any more return to the system, unless a bucket was left. All their bytes are zero then, like those of the
/// pages that take their place. Resizing takes several milliseconds, and no other thread waits for it.
///
/// **Memory.** No more buckets than nodes, with 68 bytes each, and at most 8.5 MiB. The raw memory of a released node
/// is not kept, because the node is taken out. Only if its bucket is busy, or the cache is being resized, the memory is
/// kept until the bucket is used again.

#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Tavik::Impl {

/// The shared nodes of one type. Never destroyed: nodes may be found until the process has ended. What a thread that
/// meets no others does not need is out of line.
template <typename Node>
class SharedCache {
public:
    /// The living node with the given content and its hash; null when it is not in the cache.
    template <typename Content>
    [[nodiscard, gnu::noinline]] std::shared_ptr<const Node> find(const Content& content, std::size_t hash) noexcept {
        const std::uint32_t mask = mask_.load(std::memory_order_acquire);
        if (mask == 0 || !mayHave(hash, mask)) {
            return nullptr;
        }
        std::shared_ptr<const Node> node;
        Bucket& bucket = buckets_[tagOf(hash) & mask];
        if (bucket.tryLock()) {
            for (std::size_t slot = 0; slot < slotCount && node == nullptr; ++slot) {
                if (bucket.tags[slot] == tagOf(hash)) {
                    node = bucket.references[slot].lock();
                }
            }
            bucket.unlock();
        }
        if (node != nullptr && !(*node == content)) {
            node.reset();
        }
        return node;
    }

    /// Remembers a node that was found in a table of `nodeCount` nodes.
    [[gnu::noinline]] void enter(const std::shared_ptr<const Node>& node,
                                 std::size_t hash,
                                 std::size_t nodeCount) noexcept {
        fit(nodeCount);
        const std::uint32_t mask = mask_.load(std::memory_order_acquire);
        if (mask == 0) {
            return;
        }
        std::weak_ptr<const Node> reference = node;
        const std::size_t index = tagOf(hash) & mask;
        if (Bucket& bucket = buckets_[index]; bucket.tryLock()) {
            if (mask_.load() == mask) {
                const std::size_t slot = bucket.slotFor(tagOf(hash));
                bucket.tags[slot] = tagOf(hash);
                bucket.references[slot].swap(reference);
                setMark(index, slot, markOf(hash));
            }
            bucket.unlock();
        }
    }

    /// Whether the cache is in use, so that a released node has to be forgotten.
    [[nodiscard]] bool isInUse() const noexcept { return mask_.load(std::memory_order_acquire) != 0; }

    /// Begins to load what `forget` accesses. The cache must be in use.
    void prefetch(std::size_t hash) const noexcept {
        const std::size_t index = tagOf(hash) & mask_.load(std::memory_order_acquire);
        __builtin_prefetch(&marksOf(index));
        __builtin_prefetch(&buckets_[index]);
    }

    /// Takes out what has lost its last owner and has the given hash. The cache must be in use.
    void forget(std::size_t hash) noexcept {
        if (const std::size_t wish = wish_.load(std::memory_order_relaxed); wish != 0) [[unlikely]] {
            wish_.store(0, std::memory_order_relaxed);
            fit(wish - 1);
        }
        const std::uint32_t mask = mask_.load(std::memory_order_acquire);
        if (!mayHave(hash, mask)) {
            return;
        }
        std::array<std::weak_ptr<const Node>, slotCount> references;
        const std::size_t index = tagOf(hash) & mask;
        if (Bucket& bucket = buckets_[index]; bucket.tryLock()) {
            for (std::size_t slot = 0; slot < slotCount; ++slot) {
                if (bucket.tags[slot] == tagOf(hash) && bucket.references[slot].expired()) {
                    bucket.tags[slot] = 0;
                    bucket.references[slot].swap(references[slot]);
                    setMark(index, slot, 0);
                }
            }
            bucket.unlock();
        }
    }

    /// Notes that the table has moved to a smaller one, of `nodeCount` nodes. The next thread that forgets a node lets
    /// the cache follow, without the lock of the table.
    void wishFor(std::size_t nodeCount) noexcept { wish_.store(nodeCount + 1, std::memory_order_relaxed); }

    /// Lets the child of a fork resize the cache, even if a thread of the parent was resizing it.
    void resumeAfterFork() noexcept { isResizing_.store(false, std::memory_order_relaxed); }

private:
    static constexpr std::size_t slotCount = 3;
    static constexpr std::size_t pageSize = 4'096;
    static constexpr std::uint32_t smallestMask = pageSize / 64 - 1;
    static constexpr std::size_t mostBuckets = 1U << 17;

    /// All bytes of an empty bucket that is not locked are zero.
    struct alignas(64) Bucket {
        std::atomic<std::uint32_t> isLocked;
        std::array<std::uint32_t, slotCount> tags;  // 0 where there is no reference
        std::array<std::weak_ptr<const Node>, slotCount> references;

        [[nodiscard]] bool tryLock() noexcept {
            return isLocked.load(std::memory_order_relaxed) == 0 && isLocked.exchange(1) == 0;
        }
        void unlock() noexcept { isLocked.store(0, std::memory_order_release); }

        /// The slot for a new reference: that of its tag, one without a living node, or any.
        [[nodiscard]] std::size_t slotFor(std::uint32_t tag) const noexcept {
            for (std::size_t slot = 0; slot < slotCount; ++slot) {
                if (tags[slot] == tag) {
                    return slot;
                }
            }
            for (std::size_t slot = 0; slot < slotCount; ++slot) {
                if (references[slot].expired()) {
                    return slot;
                }
            }
            return (tag >> 20) % slotCount;
        }
    };
    static_assert(sizeof(Bucket) == 64, "a cache line");

    /// One byte for each slot of a bucket; 0 where there is no reference.
    using Marks = std::atomic<std::uint32_t>;

    [[nodiscard]] static std::uint32_t tagOf(std::size_t hash) noexcept {
        return static_cast<std::uint32_t>(hash >> 32) | 1U << 31;
    }
    [[nodiscard]] static std::uint32_t markOf(std::size_t hash) noexcept { return (hash >> 24 & 0xff) | 1; }

    [[nodiscard]] Marks& marksOf(std::size_t index) const noexcept {
        return reinterpret_cast<Marks*>(buckets_ + mostBuckets)[index];
    }

    [[nodiscard]] bool mayHave(std::size_t hash, std::uint32_t mask) const noexcept {
        const std::uint32_t marks = marksOf(tagOf(hash) & mask).load(std::memory_order_relaxed);
        const std::uint32_t mark = markOf(hash);
        return (marks & 0xff) == mark || (marks >> 8 & 0xff) == mark || (marks >> 16 & 0xff) == mark;
    }

    /// The lock of the bucket must be held.
    void setMark(std::size_t index, std::size_t slot, std::uint32_t mark) noexcept {
        const std::uint32_t others = marksOf(index).load(std::memory_order_relaxed) & ~(0xffU << 8 * slot);
        marksOf(index).store(others | mark << 8 * slot, std::memory_order_relaxed);
    }

    /// Gives the cache the size for a table of `nodeCount` nodes, unless its size is close to that, another thread does
    /// so, or there is no memory.
    void fit(std::size_t nodeCount) noexcept {
        const std::uint32_t mask = mask_.load(std::memory_order_relaxed);
        const std::size_t half = std::bit_ceil(nodeCount) / 2;
        const auto wanted =
            static_cast<std::uint32_t>(std::clamp<std::size_t>(half, smallestMask + 1, mostBuckets)) - 1;
        if (wanted > mask || wanted < mask / 4) {
            resize(wanted);
        }
    }

    [[gnu::noinline, gnu::cold]] void resize(std::uint32_t mask) noexcept {
        if (isResizing_.exchange(true, std::memory_order_acquire)) {
            return;
        }
        if (buckets_ != nullptr || reserve()) {
            const std::uint32_t oldMask = mask_.exchange(mask);
            for (std::size_t page = 0; oldMask != 0 && page <= oldMask; page += smallestMask + 1) {
                const bool isSorted = sortPage(page, mask);
                if (isSorted && page > mask) {
                    madvise(&buckets_[page], pageSize, MADV_DONTNEED);
                }
            }
        }
        isResizing_.store(false, std::memory_order_release);
    }

    /// Moves the references of a page to the buckets where they are searched under the given mask. Returns whether that
    /// was possible: whether no bucket was busy.
    [[nodiscard]] bool sortPage(std::size_t page, std::uint32_t mask) noexcept {
        bool isSorted = true;
        for (std::size_t index = page; index <= page + smallestMask; ++index) {
            if (Bucket& bucket = buckets_[index]; bucket.tryLock()) {
                for (std::size_t slot = 0; slot < slotCount; ++slot) {
                    const std::size_t target = bucket.tags[slot] & mask;
                    if (bucket.tags[slot] != 0 && target != index) {
                        moveReference(index, slot, target);
                    }
                }
                bucket.unlock();
            } else {
                isSorted = false;
            }
        }
        return isSorted;
    }

    /// Moves a reference to the same slot of another bucket, or drops it if that is busy or the slot in use. The lock
    /// of the first bucket must be held.
    void moveReference(std::size_t from, std::size_t slot, std::size_t to) noexcept {
        Bucket& source = buckets_[from];
        if (Bucket& target = buckets_[to]; target.tryLock()) {
            if (target.tags[slot] == 0) {
                target.tags[slot] = source.tags[slot];
                target.references[slot].swap(source.references[slot]);
                setMark(to, slot, marksOf(from).load(std::memory_order_relaxed) >> 8 * slot & 0xff);
            }
            target.unlock();
        }
        source.tags[slot] = 0;
        source.references[slot].reset();
        setMark(from, slot, 0);
    }

    /// Reserves address space, of which only the pages that are used take memory. Returns whether it could.
    [[nodiscard]] bool reserve() noexcept {
        void* const space = mmap(nullptr, mostBuckets * (sizeof(Bucket) + sizeof(Marks)), PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (space == MAP_FAILED) {
            return false;
        }
        buckets_ = static_cast<Bucket*>(space);
        return true;
    }

    std::atomic<std::uint32_t> mask_ = 0;  // the number of buckets in use minus 1; 0 before the first use
    std::atomic<std::size_t> wish_ = 0;    // the number of nodes to shrink for plus 1; 0 without a wish
    std::atomic<bool> isResizing_ = false;
    Bucket* buckets_ = nullptr;  // the marks follow; written once, before the first mask
};

/// The cache of the nodes of type `Node`.
template <typename Node>
constinit inline SharedCache<Node> sharedCache;

}  // namespace Tavik::Impl
