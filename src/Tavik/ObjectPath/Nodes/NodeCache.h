/// @file
/// Internal: the node cache of a thread: nodes that it found recently, which it finds again without a lock.
///
/// A cache keeps weak references to nodes, each with the hash of its content, in a fixed number of slots. What a thread
/// finds there is right whatever other threads do: a node never changes, so its content can be compared while it is
/// owned, and a weak reference that can be locked refers to the one living node of its content. A node that has lost
/// its last owner can no longer be locked, even before its deleter has run, and the caller searches the table.
///
/// Only nodes that were found, in the table or in the shared cache, are entered, so creating nodes costs nothing here.
/// A slot keeps no node, string or link alive. It may only keep the raw memory of a destroyed node, until the slot is
/// reused or the thread ends: 88 bytes for a segment and 64 for a value, besides the 24 bytes of the slot.

#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <tuple>

#include <Tavik/ObjectPath/Nodes/PerThread.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// The cached nodes of one thread, of both types.
class NodeCache {
public:
    /// The living node with the given content and its hash; null when it is not in the cache of this thread.
    template <typename Content, typename Node = typename Content::Node>
    [[nodiscard]] static std::shared_ptr<const Node> find(const Content& content, std::size_t hash) noexcept {
        NodeCache* const cache = PerThread<NodeCache>::get();
        if (cache == nullptr || cache->slotOf<Node>(hash).hash != hash) {
            return nullptr;
        }
        std::shared_ptr<const Node> node = cache->slotOf<Node>(hash).node.lock();
        if (node != nullptr && !(*node == content)) {
            node.reset();
        }
        return node;
    }

    /// Remembers a node that this thread found in the table or in the shared cache. The caller must not hold a table's
    /// mutex.
    template <typename Node>
    static void enter(const std::shared_ptr<const Node>& node, std::size_t hash) noexcept {
        if (NodeCache* const cache = PerThread<NodeCache>::getOrCreate()) {
            cache->slotOf<Node>(hash) = {hash, node};
        }
    }

private:
    /// Slots per node type; docs/tuning.md has the hit rates.
    static constexpr std::size_t slotCount = 256;

    template <typename Node>
    struct Slot {
        std::size_t hash = 0;
        std::weak_ptr<const Node> node;
    };
    template <typename Node>
    using Slots = std::array<Slot<Node>, slotCount>;

    template <typename Node>
    [[nodiscard]] Slot<Node>& slotOf(std::size_t hash) noexcept {
        return std::get<Slots<Node>>(slots_)[hash % slotCount];
    }

    std::tuple<Slots<Segment>, Slots<Value>> slots_;
};

}  // namespace Tavik::Impl
