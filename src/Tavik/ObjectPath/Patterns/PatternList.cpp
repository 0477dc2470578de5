// The patterns of a set, and pairing heaps of those that end at the same node.

#include <Tavik/ObjectPath/Patterns/PatternList.h>

#include <algorithm>
#include <new>
#include <utility>

namespace Tavik::Impl {
namespace {

constexpr PatternIndex none = PatternIndex::none;

}  // namespace

void PatternList::reserveOne() {
    if (free_ != none || entries_.size() < entries_.capacity()) {
        return;
    }
    if (entries_.size() >= static_cast<std::size_t>(none)) {
        throw std::bad_alloc();
    }
    entries_.reserve(std::max<std::size_t>(1, 2 * entries_.size()));
}

PatternIndex PatternList::add(ObjectPath path, NodeIndex end) noexcept {
    auto index = static_cast<PatternIndex>(entries_.size());
    if (free_ != none) {
        index = free_;
        free_ = at(index).next;
    } else {
        entries_.emplace_back();
    }
    at(index) = {std::move(path), end};
    ++size_;
    return index;
}

void PatternList::remove(PatternIndex index) noexcept {
    at(index) = {};
    at(index).next = free_;
    free_ = index;
    --size_;
}

/// The greater one of the two smallest indexes becomes the first child of the other one.
PatternIndex PatternList::meld(PatternIndex left, PatternIndex right) noexcept {
    if (left == none || right == none) {
        return left == none ? right : left;
    }
    const PatternIndex parent = std::min(left, right);
    const PatternIndex child = std::max(left, right);
    const PatternIndex next = std::exchange(at(parent).child, child);
    at(child).next = next;
    at(child).previous = parent;
    if (next != none) {
        at(next).previous = child;
    }
    return parent;
}

/// Melds the heaps of siblings: two and two from the first to the last, then the results from the last to the first.
/// This order is what makes the cost of a removal logarithmic.
PatternIndex PatternList::meldSiblings(PatternIndex first) noexcept {
    PatternIndex pairs = none;  // linked by `next`, the last one first
    while (first != none) {
        const PatternIndex left = first;
        const PatternIndex right = std::exchange(at(left).next, none);
        first = right == none ? none : std::exchange(at(right).next, none);
        const PatternIndex pair = meld(left, right);
        at(pair).next = pairs;
        pairs = pair;
    }
    PatternIndex heap = none;
    while (pairs != none) {
        const PatternIndex pair = pairs;
        pairs = std::exchange(at(pair).next, none);
        heap = meld(heap, pair);
    }
    if (heap != none) {
        at(heap).previous = none;
    }
    return heap;
}

PatternIndex PatternList::extract(PatternIndex heap, PatternIndex index) noexcept {
    const PatternIndex rest = meldSiblings(std::exchange(at(index).child, none));
    if (index == heap) {
        return rest;
    }
    const auto [previous, next] = std::pair(at(index).previous, at(index).next);
    (at(previous).child == index ? at(previous).child : at(previous).next) = next;
    if (next != none) {
        at(next).previous = previous;
    }
    return meld(heap, rest);
}

/// First the children, then the siblings, then those of the parent. The way back from the last of some siblings to
/// their parent takes as many steps as there are siblings.
PatternIndex PatternList::nextInHeap(PatternIndex index) const noexcept {
    if (at(index).child != none) {
        return at(index).child;
    }
    while (at(index).next == none) {
        PatternIndex previous = at(index).previous;
        while (previous != none && at(previous).child != index) {
            index = std::exchange(previous, at(previous).previous);
        }
        if (previous == none) {
            return none;
        }
        index = previous;
    }
    return at(index).next;
}

}  // namespace Tavik::Impl
