// The hash table of the edges by string of a pattern tree.

#include <Tavik/ObjectPath/Patterns/Edges.h>

#include <algorithm>

namespace Tavik::Impl {

static_assert(sizeof(PatternNode) == 64, "the address of a node should take one shift");

const EdgeSecret edgeSecret = {String("edges by key").keyedHash(), String("edges by name or value").keyedHash(),
                               String("nodes").keyedHash()};

void EdgeTable::reserve(std::size_t more) {
    if (2 * (used_ + more) <= slots_.size()) {
        return;
    }
    std::vector<Slot> slots(std::max(std::bit_ceil(2 * (used_ + more)), 2 * slots_.size()));
    slots_.swap(slots);
    shift_ = 32U - static_cast<unsigned>(std::countr_zero(slots_.size()));
    used_ = 0;
    for (const Slot& slot : slots) {
        if (slot.node != NodeIndex::none) {
            insert(slot);
        }
    }
}

void EdgeTable::insert(Slot slot) noexcept {
    std::size_t position = homeOf(slot.hash);
    while (slots_[position].node != NodeIndex::none) {
        position = after(position);
    }
    slots_[position] = slot;
    ++used_;
}

/// A look-up ends at a free slot. So a later edge whose search would pass the free slot moves into that slot, which in
/// turn frees the slot where the edge was.
void EdgeTable::erase(const PatternNode& node, NodeIndex index) noexcept {
    std::size_t hole = homeOf(hashOf(node));
    while (slots_[hole].node != index) {
        hole = after(hole);
    }
    for (std::size_t position = after(hole); slots_[position].node != NodeIndex::none; position = after(position)) {
        if (distance(homeOf(slots_[position].hash), position) >= distance(hole, position)) {
            slots_[hole] = slots_[position];
            hole = position;
        }
    }
    slots_[hole] = {};
    --used_;
}

}  // namespace Tavik::Impl
