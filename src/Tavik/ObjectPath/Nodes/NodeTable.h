/// @file
/// Internal: the table of the nodes of one type, by which nodes are found, created and released.

#pragma once

#include <cstddef>
#include <memory>

#include <Tavik/ObjectPath/Nodes/Content.h>
#include <Tavik/ObjectPath/Nodes/NodeBlock.h>
#include <Tavik/ObjectPath/Nodes/RecentNodes.h>
#include <Tavik/ObjectPath/Nodes/TableLock.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// All that belongs to one table; `Dedup<T>` is the part of it that programs see.
///
/// The table has one entry for each content of a node: a copy of the content, which owns what the node links to, and a
/// weak reference to the node. Every living node has its entry.
template <typename T>
class NodeTable {
public:
    using Content = ContentOf<T>;

    /// The living node with the given content, created when there is none. Throws `std::bad_alloc` and
    /// `std::system_error`, leaving a link to be taken in an unspecified state.
    ///
    /// Searches first the nodes that this thread found recently, then, while that pays, those that all threads found,
    /// then the table. The first step is inline, because it finds most nodes, and a call would cost more than the
    /// look-up.
    [[nodiscard, gnu::always_inline]] static std::shared_ptr<const T> intern(Content content) TAVIK_EXCLUDES(mutex_) {
        const std::size_t hash = absl::Hash<Content>{}(content);
        if (auto recent = RecentNodes::find(content, hash)) {
            return recent;
        }
        return findOrCreate(content, hash);
    }

    /// As above, by the table alone. A node that is created takes over what `key` holds.
    [[nodiscard]] static std::shared_ptr<const T> intern(T& key) TAVIK_EXCLUDES(mutex_);

    /// The living node with the given content; null when there is none. Searches where `intern` does, and creates
    /// nothing. Allocates for a string of more than 15 bytes, and for the first content with attributes on a thread.
    /// Throws `std::bad_alloc` and `std::system_error`.
    [[nodiscard, gnu::always_inline]] static std::shared_ptr<const T> find(const Content& content)
        TAVIK_EXCLUDES(mutex_) {
        const std::size_t hash = absl::Hash<Content>{}(content);
        if (auto recent = RecentNodes::find(content, hash)) {
            return recent;
        }
        return findNotRecent(content, hash);
    }

    /// Removes the entry of a node that has lost its last owner, unless it refers to a successor, and destroys the
    /// node. A lock that fails terminates the process.
    static void release(const T* node) noexcept TAVIK_EXCLUDES(mutex_);

    /// Room that the table is about to get, and then keeps.
    class Reservation;

    /// Puts right, in the child of a fork, what other threads of the parent had begun.
    static void repairAfterFork() noexcept TAVIK_REQUIRES(mutex_);

    /// The block of the node that is being created. The caller must hold the lock, as it does while the constructor of
    /// a `std::shared_ptr` asks for this.
    [[nodiscard]] static NodeBlock<T>* pendingBlock() noexcept TAVIK_NO_THREAD_SAFETY_ANALYSIS {
        return state_.pending;
    }

private:
    using Table = typename Dedup<T>::Table;

    /// What is known of the table besides its entries. Has a cache line of its own, because threads write both types.
    struct alignas(64) State {
        std::size_t erased = 0;           // entries since the table was last rebuilt
        std::size_t reserved = 0;         // slots that the table keeps even when it is nearly empty
        std::size_t reservations = 0;     // in progress: while there is one, the table does not shrink
        NodeBlock<T>* pending = nullptr;  // of the node that is being created
    };

    /// A node, and the number of nodes in the table.
    struct Interned {
        std::shared_ptr<const T> node;
        bool isNew;
        std::size_t tableSize;
    };

    [[nodiscard]] static Table& table() noexcept TAVIK_REQUIRES(mutex_) { return Dedup<T>::table_; }

    [[nodiscard]] static std::shared_ptr<const T> findNotRecent(const Content& content, std::size_t hash);
    [[nodiscard]] static std::shared_ptr<const T> findOrCreate(Content& content, std::size_t hash);
    [[nodiscard]] static std::shared_ptr<const T> findFound(const Content& content, std::size_t hash) noexcept;
    static void enterFound(const Interned& found, std::size_t hash) noexcept;
    [[nodiscard]] static Interned findInTable(const T& key, std::size_t hash);
    template <typename OwnLink>
    [[nodiscard]] static Interned findOrCreateInTable(T& key, std::size_t hash, OwnLink ownLink);
    [[nodiscard]] static typename Table::iterator insertEntry(const T& content) TAVIK_REQUIRES(mutex_);
    static void growInsteadOfRehashing() TAVIK_REQUIRES(mutex_);
    static void shrinkIfNearlyEmpty() noexcept TAVIK_REQUIRES(mutex_);
    static void eraseEntry(const T& node, std::size_t hash);
    static void eraseFoundEntry(const T& node, std::size_t hash);
    static void releaseChain(std::shared_ptr<const T> link) noexcept;

    static constexpr TableMutex<T> mutex_{};
    static constinit inline State state_ TAVIK_GUARDED_BY(mutex_){};
};

}  // namespace Tavik::Impl
