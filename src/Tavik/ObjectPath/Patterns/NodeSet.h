/// @file
/// Internal: a set of nodes of a pattern tree.

#pragma once

#include <algorithm>
#include <cstddef>

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/Patterns/Edges.h>

namespace Tavik::Impl {

/// A hash set of nodes. Allocates only for more than 32 nodes; a set of the standard library or of Abseil would
/// allocate for the first one.
class NodeSet {
public:
    /// Whether `node` was not in the set before. Throws `std::bad_alloc`.
    template <typename Count = const Uncounted>
    bool insert(NodeIndex node, Count& probes = uncounted) {
        if (2 * count_ >= slots_.size()) {
            grow(probes);
        }
        const bool isNew = place(node, probes);
        count_ += isNew ? 1 : 0;
        return isNew;
    }

private:
    static constexpr std::size_t inlineSlots = 64;

    template <typename Count>
    void grow(Count& probes) {
        const Slots old = slots_;
        slots_.assign(std::max(inlineSlots, 2 * old.size()), NodeIndex::none);
        for (const NodeIndex node : old) {
            if (node != NodeIndex::none) {
                place(node, probes);
            }
        }
    }

    template <typename Count>
    bool place(NodeIndex node, Count& probes) noexcept {
        const std::size_t mask = slots_.size() - 1;
        for (std::size_t slot = hashOfNode(node) & mask;; slot = (slot + 1) & mask) {
            ++probes;
            if (slots_[slot] == node) {
                return false;
            }
            if (slots_[slot] == NodeIndex::none) {
                slots_[slot] = node;
                return true;
            }
        }
    }

    using Slots = boost::container::small_vector<NodeIndex, inlineSlots>;
    Slots slots_;  // none or a power of two
    std::size_t count_ = 0;
};

}  // namespace Tavik::Impl
