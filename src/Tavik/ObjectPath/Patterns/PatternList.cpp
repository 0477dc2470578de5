// The patterns of a set by index, and lists of the patterns that end at the same node.

#include <Tavik/ObjectPath/Patterns/PatternList.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace Tavik::Impl {
namespace {

constexpr PatternIndex none = PatternIndex::none;

}  // namespace

void PatternList::reserveOne() {
    if (free_ != none) {
        return;
    }
    if (links_.size() >= static_cast<std::size_t>(none)) {
        throw std::bad_alloc();
    }
    if (paths_.size() == paths_.capacity()) {
        paths_.reserve(std::max<std::size_t>(1, 2 * paths_.size()));
    }
    if (links_.size() == links_.capacity()) {
        links_.reserve(std::max<std::size_t>(1, 2 * links_.size()));
    }
}

PatternIndex PatternList::add(ObjectPath path, NodeIndex end, PatternIndex first) {
    const PatternIndex index = free_ != none ? free_ : static_cast<PatternIndex>(links_.size());
    PatternIndex previous = none;
    PatternIndex next = none;
    if (first != none) {
        const auto follower = followers_.insert({end, std::max(index, first)}).first;  // nothing else throws
        if (index < first) {
            next = first;
        } else {
            const bool isSecond = follower == followers_.begin() || std::prev(follower)->first != end;
            previous = isSecond ? first : std::prev(follower)->second;
            next = at(previous).next;
        }
    }
    if (free_ != none) {
        free_ = at(index).next;
    } else {
        paths_.emplace_back();
        links_.emplace_back();
    }
    paths_[static_cast<std::size_t>(index)] = std::move(path);
    at(index) = {end, next, previous};
    if (previous != none) {
        at(previous).next = index;
    }
    if (next != none) {
        at(next).previous = index;
    }
    ++size_;
    return index;
}

void PatternList::remove(PatternIndex index) noexcept {
    Links& links = at(index);
    if (links.previous != none) {
        at(links.previous).next = links.next;
        followers_.erase({links.end, index});
    } else if (links.next != none) {
        followers_.erase({links.end, links.next});
    }
    if (links.next != none) {
        at(links.next).previous = links.previous;
    }
    paths_[static_cast<std::size_t>(index)] = ObjectPath();
    links = {};
    links.next = std::exchange(free_, index);
    --size_;
}

}  // namespace Tavik::Impl
