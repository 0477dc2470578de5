/// @file
/// Internal: the nodes that a thread found recently, which it finds again without a lock.
///
/// Each thread keeps weak references to nodes, each with the hash of its content, in a fixed number of slots. What a
/// thread finds there is right whatever other threads do: a node never changes, so its content can be compared while it
/// is owned, and a weak reference that can be locked refers to the one living node of its content. A node that has lost
/// its last owner can no longer be locked, even before its deleter has run, and the caller searches the table.
///
/// Only nodes that were found are entered, so creating nodes costs nothing here. A slot keeps no node, string or link
/// alive. It may only keep the raw memory of a destroyed node, until the slot is reused or the thread ends: 88 bytes
/// for a segment and 64 for a value, besides the 24 bytes of the slot.

#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <tuple>

#include <Tavik/ObjectPath/Nodes/PerThread.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// The recently found nodes of one thread, of both types.
class RecentNodes {
public:
    /// The living node with the given content and its hash; null when this thread has not found it recently.
    template <typename Content, typename Node = typename Content::Node>
    [[nodiscard]] static std::shared_ptr<const Node> find(const Content& content, std::size_t hash) noexcept {
        RecentNodes* const nodes = PerThread<RecentNodes>::get();
        if (nodes == nullptr || nodes->slotOf<Node>(hash).hash != hash) {
            return nullptr;
        }
        std::shared_ptr<const Node> node = nodes->slotOf<Node>(hash).node.lock();
        if (node != nullptr && !(*node == content)) {
            node.reset();
        }
        return node;
    }

    /// Remembers a node that this thread found elsewhere. The caller must not hold the lock of a table.
    template <typename Node>
    static void enter(const std::shared_ptr<const Node>& node, std::size_t hash) noexcept {
        if (RecentNodes* const nodes = PerThread<RecentNodes>::getOrCreate()) {
            nodes->slotOf<Node>(hash) = {hash, node};
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
