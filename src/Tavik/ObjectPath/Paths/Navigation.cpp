// Reading a path: leaf, parent, prefixes, order, segments and attributes.

#include <algorithm>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>

namespace Tavik {
namespace {

using View = ObjectPath::View;

/// Where two paths part, on the way from the root.
struct Parting {
    Parting(const ObjectPath& one, const ObjectPath& other) noexcept
        : leftDepth(one.depth()), rightDepth(other.depth()) {
        const std::size_t shared = std::min(leftDepth, rightDepth);
        left = common = Impl::ancestor(one.toView(), leftDepth - shared);
        right = Impl::ancestor(other.toView(), rightDepth - shared);
        // Two levels whose enclosing segments are equal are enclosed by the same nodes. So the topmost levels that
        // differ are the last ones before the nodes are the same.
        for (View facing = right; common != facing; facing = facing.parent()) {
            left = common;
            right = facing;
            common = common.parent();
        }
    }

    std::size_t leftDepth;
    std::size_t rightDepth;
    View common;  // the end of what both start with
    View left;    // the first level that differs; `common` if one path starts with the other
    View right;
};

int compareCounts(std::size_t left, std::size_t right) noexcept {
    return static_cast<int>(left > right) - static_cast<int>(left < right);
}

/// Compares names, then attributes as pairs of key and value.
int compareSegments(const View& left, const View& right) noexcept {
    int order = left.name().compare(right.name());
    const ObjectPathAttributeRange leftAttributes = left.attributeRange();
    const ObjectPathAttributeRange rightAttributes = right.attributeRange();
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
            return *Impl::advance(&values, valuesPassed) == base.values;
        }
        valuesPassed += level->attributeKeys.size();
    }
    return false;
}

ObjectPath ObjectPath::prefix(std::size_t count) const noexcept {
    const std::size_t last = depth();
    return Impl::ancestor(toView(), last > count ? last - count : 0).path();
}

ObjectPath ObjectPath::commonPrefix(const ObjectPath& other) const noexcept {
    return Parting(*this, other).common.path();
}

const String* ObjectPath::attribute(std::string_view key) const noexcept {
    const String* value = nullptr;
    for (View view = toView(); value == nullptr && !view.isRoot(); view = view.parent()) {
        value = view.attribute(key);
    }
    return value;
}

int ObjectPath::compare(const ObjectPath& other) const noexcept {
    const Parting parting(*this, other);
    return parting.left != parting.common ? compareSegments(parting.left, parting.right)
                                          : compareCounts(parting.leftDepth, parting.rightDepth);
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
    TAVIK_OBJECT_PATH_REQUIRE(segment != nullptr, "unexpected empty segment", {});
    absl::btree_map<String, String> attributes;
    for (const auto& [key, value] : attributeRange()) {
        // Copies, so that the map shares no buffer of the pool: releasing it takes no lock.
        attributes.emplace_hint(attributes.end(), key.view(), value.view());
    }
    return attributes;
}

}  // namespace Tavik
