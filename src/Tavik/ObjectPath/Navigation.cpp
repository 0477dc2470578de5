// Reading a path: leaf, parent, prefixes, segments and attributes.

#include <Tavik/ObjectPath/Levels.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {

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
    const View outer = toView().parent();
    return ObjectPath{*outer.segment, *outer.values};
}

bool ObjectPath::startsWith(const ObjectPath& prefix) const noexcept {
    if (prefix.segment == nullptr) {
        return true;
    }
    // A node never is its own ancestor, so only one level can have the segment of the prefix.
    std::size_t valuesPassed = 0;
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        if (level == prefix.segment.get()) {
            return Impl::advance(values.get(), valuesPassed) == prefix.values.get();
        }
        valuesPassed += level->attributeKeys.size();
    }
    return false;
}

ObjectPath::Segments ObjectPath::explode() const {
    Segments segments;
    for (View view = toView(); *view.segment != nullptr; view = view.parent()) {
        segments.leafFirst_.push_back({*view.segment, *view.values});
    }
    return segments;
}

absl::btree_map<String, String> ObjectPathSegment::attributes() const {
    absl::btree_map<String, String> attributes;
    const Impl::Value* node = values.get();
    for (const String& key : segment->attributeKeys) {
        attributes.emplace_hint(attributes.end(), key.view(), node->value.view());
        node = node->previous.get();
    }
    return attributes;
}

}  // namespace Tavik
