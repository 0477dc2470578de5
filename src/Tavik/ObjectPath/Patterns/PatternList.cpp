// The patterns of a set by index.

#include <Tavik/ObjectPath/Patterns/PatternList.h>

#include <algorithm>
#include <new>
#include <utility>

namespace Tavik::Impl {
namespace {

constexpr PatternIndex none = PatternIndex::none;

bool hasOptions(const ListedPattern& pattern) noexcept {
    return pattern.config != ObjectPathPatternConfig();
}

}  // namespace

std::size_t PatternList::nextFrom(std::size_t start) const noexcept {
    while (start < entries_.size() && !contains(start)) {
        ++start;
    }
    return start < entries_.size() ? start : SIZE_MAX;
}

PatternIndex PatternList::reserveOne(bool isLast) {
    if (!isLast && free_ != none) {
        return free_;
    }
    std::size_t index = entries_.size();
    while (isLast && index > 0 && !contains(index - 1)) {
        --index;
    }
    if (index >= static_cast<std::size_t>(none)) {
        throw std::bad_alloc();
    }
    if (index == entries_.capacity()) {
        entries_.reserve(std::max<std::size_t>(1, 2 * index));
    }
    return static_cast<PatternIndex>(index);
}

void PatternList::add(PatternIndex index, ListedPattern pattern, bool isLast) noexcept {
    const auto position = static_cast<std::size_t>(index);
    while (isLast && entries_.size() > position) {
        unlink(static_cast<PatternIndex>(entries_.size() - 1));
        entries_.pop_back();
    }
    if (position == entries_.size()) {
        entries_.emplace_back();
    } else {
        unlink(index);
    }
    ++size_;
    withOptions_ += hasOptions(pattern) ? 1 : 0;
    at(index) = {std::move(pattern)};
}

void PatternList::remove(PatternIndex index) noexcept {
    --size_;
    withOptions_ -= hasOptions(at(index)) ? 1 : 0;
    at(index) = {};
    if (free_ != none) {
        at(free_).previous = index;
    }
    at(index).next = std::exchange(free_, index);
}

void PatternList::unlink(PatternIndex index) noexcept {
    const Entry& entry = at(index);
    if (entry.next != none) {
        at(entry.next).previous = entry.previous;
    }
    (entry.previous != none ? at(entry.previous).next : free_) = entry.next;
}

}  // namespace Tavik::Impl
