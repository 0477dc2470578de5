/// @file
/// Internal: the nodes that threads found while they met at the lock of a table. All threads share them and find them
/// again without that lock.
///
/// Weak references to nodes are kept in buckets of one cache line: three references, each with a tag of 32 bits of its
/// node's hash, and a lock. A word of marks for each bucket, in an array of its own, holds a few more bits for each
/// reference. The marks alone rule out most nodes that are not here.
///
/// **Nothing waits.** A lock is only ever tried, and a busy bucket counts as an empty one. A thread that is stopped
/// inside a bucket makes that bucket useless until it continues, and hangs no other thread.
///
/// **What is found is right**, whatever is in a bucket. A node never changes, so its content is compared while it is
/// owned, and a weak reference that can be locked refers to the one living node of its content.
///
/// **No data race.** References and tags are accessed only under the lock of their bucket; everything else is atomic.
///
/// **Size.** A mask says how many buckets are in use, and follows the number of nodes in the table. It is changed in
/// place, and no other thread waits meanwhile. See `resize` for what other threads may do in between.
///
/// **Memory.** At most 68 bytes for each node of the largest number that the table ever had, and at most 68 MiB; when
/// nodes are released, all but 4 of the 68 bytes return to the system. A released node is taken out, so its memory is
/// not kept. Only if its bucket is busy, or is being moved, the memory is kept until the bucket is used again.

#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include <Tavik/ObjectPath/Nodes/FoundNodesBucket.h>

namespace Tavik::Impl {

/// The found nodes of one type. Never destroyed: nodes may be found until the process has ended. Functions that only
/// contending threads call are out of line.
template <typename Node, typename Parts = FoundNodesParts<Node>>
class FoundNodes {
    template <typename T>
    using Atomic = typename Parts::template Atomic<T>;
    using Reference = typename Parts::Reference;

public:
    /// The living node with the given content and its hash; null when it is not here.
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

    /// Remembers a node that was found in a table of `nodeCount` nodes. Returns whether there is memory for any.
    [[gnu::noinline]] bool enter(const std::shared_ptr<const Node>& node,
                                 std::size_t hash,
                                 std::size_t nodeCount) noexcept {
        fit(nodeCount);
        const std::uint32_t mask = mask_.load(std::memory_order_acquire);
        if (mask == 0) {
            return false;
        }
        Reference reference(node);
        const std::size_t index = tagOf(hash) & mask;
        if (Bucket& bucket = buckets_[index]; bucket.tryLock()) {
            if (mask_.load() == mask) {  // or the bucket may have been moved already
                const std::size_t slot = bucket.slotFor(tagOf(hash));
                bucket.tags[slot] = tagOf(hash);
                bucket.references[slot].swap(reference);
                setMark(index, slot, markOf(hash));
            }
            bucket.unlock();
        }
        return true;
    }

    /// Whether there may be nodes here, so that a released one has to be forgotten.
    [[nodiscard]] bool isInUse() const noexcept { return mask_.load(std::memory_order_acquire) != 0; }

    /// Begins to load what `forget` accesses. There must be buckets in use.
    void prefetch(std::size_t hash) const noexcept {
        const std::size_t index = tagOf(hash) & mask_.load(std::memory_order_acquire);
        __builtin_prefetch(&marksOf(index));
        __builtin_prefetch(&buckets_[index]);
    }

    /// Takes out what has lost its last owner and has the given hash. There must be buckets in use.
    void forget(std::size_t hash) noexcept {
        if (wish_.load(std::memory_order_relaxed) != noWish) [[unlikely]] {
            if (const std::size_t wish = wish_.exchange(noWish); wish != noWish) {
                fit(wish);
            }
        }
        const std::uint32_t mask = mask_.load(std::memory_order_acquire);
        if (!mayHave(hash, mask)) {
            return;
        }
        std::array<Reference, slotCount> dropped;
        const std::size_t index = tagOf(hash) & mask;
        if (Bucket& bucket = buckets_[index]; bucket.tryLock()) {
            for (std::size_t slot = 0; slot < slotCount; ++slot) {
                if (bucket.tags[slot] == tagOf(hash) && bucket.references[slot].expired()) {
                    bucket.tags[slot] = 0;
                    bucket.references[slot].swap(dropped[slot]);
                    setMark(index, slot, 0);
                }
            }
            bucket.unlock();
        }
    }

    /// Notes that the table has moved to a smaller one, of `nodeCount` nodes. The next thread that forgets a node lets
    /// the buckets follow, without the lock of the table.
    void shrinkLater(std::size_t nodeCount) noexcept { wish_.store(nodeCount, std::memory_order_relaxed); }

    /// Repairs what a thread of the parent left that was resizing at the fork: the buckets that it had locked. They may
    /// be half moved, so what they refer to is not released. No other thread may run.
    void repairAfterFork() noexcept {
        if (!isResizing_.load(std::memory_order_relaxed)) {
            return;
        }
        for (std::size_t index = 0; index < usable_; ++index) {
            if (buckets_[index].isLocked.load(std::memory_order_relaxed) != 0) {
                new (&buckets_[index]) Bucket{};
                marksOf(index).store(0, std::memory_order_relaxed);
            }
        }
        isResizing_.store(false, std::memory_order_relaxed);
    }

private:
    using Bucket = FoundNodesBucket<Parts>;
    static constexpr std::size_t slotCount = Bucket::slotCount;
    static constexpr std::size_t noWish = SIZE_MAX;

    /// One byte for each slot of a bucket; 0 where there is no reference.
    using Marks = Atomic<std::uint32_t>;

    [[nodiscard]] static std::uint32_t tagOf(std::size_t hash) noexcept {
        return static_cast<std::uint32_t>(hash >> 32) | 1U << 31;
    }
    [[nodiscard]] static std::uint32_t markOf(std::size_t hash) noexcept { return (hash >> 24 & 0xff) | 1; }

    [[nodiscard]] Marks& marksOf(std::size_t index) const noexcept {
        return reinterpret_cast<Marks*>(buckets_ + Parts::mostBuckets)[index];
    }

    [[nodiscard]] bool mayHave(std::size_t hash, std::uint32_t mask) const noexcept {
        const std::uint32_t marks = marksOf(tagOf(hash) & mask).load(std::memory_order_relaxed);
        const std::uint32_t mark = markOf(hash);
        return (marks & 0xff) == mark || (marks >> 8 & 0xff) == mark || (marks >> 16 & 0xff) == mark;
    }

    /// The caller must hold the lock of the bucket.
    void setMark(std::size_t index, std::size_t slot, std::uint32_t mark) noexcept {
        const std::uint32_t others = marksOf(index).load(std::memory_order_relaxed) & ~(0xffU << 8 * slot);
        marksOf(index).store(others | mark << 8 * slot, std::memory_order_relaxed);
    }

    /// Lets the buckets follow a table of `nodeCount` nodes, unless their number is close to that, another thread does
    /// so, or there is no memory.
    void fit(std::size_t nodeCount) noexcept {
        const std::uint32_t mask = mask_.load(std::memory_order_relaxed);
        const std::size_t half = std::bit_ceil(nodeCount) / 2;
        const std::size_t wanted = std::clamp(half, Parts::bucketsOfPage, Parts::mostBuckets);
        if (wanted > mask + std::size_t{1} || Parts::bucketsForEachWanted * wanted <= mask) {
            resize(wanted);
        }
    }

    /// Stores the new mask and then moves, page by page, what does not belong in a bucket any more.
    ///
    /// A thread that still has the old mask may lock a bucket before or after that. Before, the bucket is found busy
    /// and is left as it is. After, the thread sees that the mask has changed and enters nothing, or that the mask has
    /// become the old one again, so that the bucket is the right one: accesses of masks and locks are sequentially
    /// consistent.
    ///
    /// A page that is not used any more returns to the system. All its buckets stay locked until the kernel has zeroed
    /// them, which is also what unlocks them: otherwise a thread with the old mask could lock a bucket in between, and
    /// would lose its lock to the kernel.
    [[gnu::noinline, gnu::cold]] void resize(std::size_t count) noexcept {
        if (isResizing_.exchange(true, std::memory_order_acquire)) {
            return;
        }
        if (makeUsable(count)) {
            const auto mask = static_cast<std::uint32_t>(count - 1);
            const std::uint32_t oldMask = mask_.exchange(mask);
            for (std::size_t page = 0; oldMask != 0 && page <= oldMask; page += Parts::bucketsOfPage) {
                movePage(page, mask);
            }
        }
        isResizing_.store(false, std::memory_order_release);
    }

    /// Moves what a page holds to the buckets where it is searched under the given mask. Gives back the page if it is
    /// not used under this mask and no bucket was busy.
    void movePage(std::size_t page, std::uint32_t mask) noexcept TAVIK_NO_THREAD_SAFETY_ANALYSIS {
        std::array<Reference, slotCount * Parts::bucketsOfPage> dropped;  // released without any lock
        std::array<Bucket*, Parts::bucketsOfPage> locked;
        std::size_t lockedCount = 0;
        for (std::size_t index = page; index < page + Parts::bucketsOfPage; ++index) {
            if (Bucket& bucket = buckets_[index]; bucket.tryLock()) {
                locked[lockedCount++] = &bucket;
                for (std::size_t slot = 0; slot < slotCount; ++slot) {
                    const std::size_t target = bucket.tags[slot] & mask;
                    if (bucket.tags[slot] != 0 && target != index) {
                        moveReference(bucket, slot, target);
                        bucket.references[slot].swap(dropped[slotCount * (index - page) + slot]);
                    }
                }
            }
        }
        if (page > mask && lockedCount == locked.size() &&
            Parts::Pages::zero(&buckets_[page], Parts::bucketsOfPage * sizeof(Bucket))) {
            return;
        }
        while (lockedCount > 0) {
            locked[--lockedCount]->unlock();
        }
    }

    /// Takes a reference out of a bucket, and moves it to the same slot of another one unless that is busy or the slot
    /// in use; then it stays where it was, without its tag.
    void moveReference(Bucket& source, std::size_t slot, std::size_t to) noexcept TAVIK_REQUIRES(source) {
        const auto from = static_cast<std::size_t>(&source - buckets_);
        if (Bucket& target = buckets_[to]; target.tryLock()) {
            if (target.tags[slot] == 0) {
                target.tags[slot] = source.tags[slot];
                target.references[slot].swap(source.references[slot]);
                setMark(to, slot, marksOf(from).load(std::memory_order_relaxed) >> 8 * slot & 0xff);
            }
            target.unlock();
        }
        source.tags[slot] = 0;
        setMark(from, slot, 0);
    }

    /// Whether there is memory for `count` buckets. Reserves address space for all of them when the first one is used,
    /// and gives none back. Only the thread that resizes may call this.
    [[nodiscard]] bool makeUsable(std::size_t count) noexcept {
        if (buckets_ == nullptr) {
            buckets_ =
                static_cast<Bucket*>(Parts::Pages::reserve(Parts::mostBuckets * (sizeof(Bucket) + sizeof(Marks))));
        }
        if (count > usable_ && buckets_ != nullptr && Parts::Pages::makeUsable(buckets_, count * sizeof(Bucket)) &&
            Parts::Pages::makeUsable(&marksOf(0), count * sizeof(Marks))) {
            usable_ = count;
        }
        return count <= usable_;
    }

    Atomic<std::uint32_t> mask_ = 0;     // the number of buckets in use minus 1; 0 before the first use
    Atomic<std::size_t> wish_ = noWish;  // the number of nodes to shrink for
    Atomic<bool> isResizing_ = false;    // the lock of what follows
    Bucket* buckets_ = nullptr;          // the marks follow; written once, before the first mask
    std::size_t usable_ = 0;             // buckets that may be accessed; never fewer than the mask says
};

/// The found nodes of type `Node`.
template <typename Node>
constinit inline FoundNodes<Node> foundNodes;

}  // namespace Tavik::Impl
