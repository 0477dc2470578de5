// Reading a path: leaf, parent, prefixes, order, segments and attributes.

#include <algorithm>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>

namespace Tavik {
namespace {

using Impl::Level;

/// The level of a path that has `count` levels below it.
Level levelAbove(const ObjectPath& path, std::size_t count) noexcept {
    Level level{path.segment.get(), path.values.get()};
    for (; count > 0; --count) {
        level = outer(level);
    }
    return level;
}

int compareCounts(std::size_t left, std::size_t right) noexcept {
    return static_cast<int>(left > right) - static_cast<int>(left < right);
}

/// Compares names, then attributes as pairs of key and value.
int compareSegments(const Level& left, const Level& right) noexcept {
    int order = left.segment->name.compare(right.segment->name);
    const ObjectPathAttributeRange leftAttributes = attributesOf(left);
    const ObjectPathAttributeRange rightAttributes = attributesOf(right);
    auto other = rightAttributes.begin();
    for (auto each = leftAttributes.begin();
         order == 0 && each != leftAttributes.end() && other != rightAttributes.end(); ++each, ++other) {
        order = each->first.compare(other->first);
        if (order == 0) {
            order = each->second.compare(other->second);
        }
    }
    return order != 0 ? order : compareCounts(leftAttributes.size(), rightAttributes.size());
}

}  // namespace

ObjectPath::View ObjectPath::toView() const noexcept {
    return {&segment, &values};
}

std::optional<ObjectPathSegment> ObjectPath::leaf() const noexcept {
    if (segment == nullptr) {
        return std::nullopt;
    }
    return ObjectPathSegment{segment, values};
}

std::optional<ObjectPath> ObjectPath::parent() const noexcept {
    if (segment == nullptr) {
        return std::nullopt;
    }
    return toView().parent().path();
}

bool ObjectPath::startsWith(const ObjectPath& base) const noexcept {
    if (base.segment == nullptr) {
        return true;
    }
    // A node is never its own ancestor, so only one level can have the segment of the base.
    std::size_t valuesPassed = 0;
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        if (level == base.segment.get()) {
            return Impl::advance(values.get(), valuesPassed) == base.values.get();
        }
        valuesPassed += level->attributeKeys.size();
    }
    return false;
}

int ObjectPath::compare(const ObjectPath& other) const noexcept {
    const std::size_t leftCount = depth();
    const std::size_t rightCount = other.depth();
    const std::size_t common = std::min(leftCount, rightCount);
    Level left = levelAbove(*this, leftCount - common);
    Level right = levelAbove(other, rightCount - common);
    // Two levels whose enclosing segments are equal are enclosed by the same nodes. So the topmost levels that differ,
    // the last ones before the nodes are the same, decide the order.
    Level lastLeft{};
    Level lastRight{};
    while (left.segment != right.segment || left.values != right.values) {
        lastLeft = left;
        lastRight = right;
        left = outer(left);
        right = outer(right);
    }
    if (lastLeft.segment != nullptr) {
        return compareSegments(lastLeft, lastRight);
    }
    return compareCounts(leftCount, rightCount);
}

ObjectPath::Segments ObjectPath::explode() const {
    Segments segments;
    for (View view = toView(); *view.segment != nullptr; view = view.parent()) {
        segments.leafFirst_.push_back({*view.segment, *view.values});
    }
    return segments;
}

ObjectPath::Views ObjectPath::views() const {
    Views views;
    views.rootFirst_.resize(depth(), boost::container::default_init);
    View view = toView();
    for (auto position = views.rootFirst_.rbegin(); position != views.rootFirst_.rend(); ++position) {
        *position = view;
        view = view.parent();
    }
    return views;
}

absl::btree_map<String, String> ObjectPathSegment::attributes() const {
    absl::btree_map<String, String> attributes;
    for (const auto& [key, value] : ObjectPathAttributeRange(node("attributes").attributeKeys, values.get())) {
        // Copies, so that the map shares no buffer of the pool: releasing it takes no lock.
        attributes.emplace_hint(attributes.end(), key.view(), value.view());
    }
    return attributes;
}

}  // namespace Tavik
