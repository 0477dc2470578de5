/// @file
/// The segments of a path one by one: as values, and as cursors that own nothing.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include <fmt/format.h>
#include <boost/container/small_vector.hpp>

#include <Tavik/Core/Assert.h>
#include <Tavik/Core/Lifetime.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {

/// The segments of a path, as a range that runs from the first segment to the leaf. It owns its segments, so it may
/// outlive the path it was taken from. References and iterators are valid until it is destroyed or assigned to.
class ObjectPath::Segments {
    using Storage = boost::container::small_vector<ObjectPathSegment, 10>;

public:
    /// The types that a standard container names.
    /// @{
    using value_type = ObjectPathSegment;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using const_reference = const ObjectPathSegment&;
    using reference = const_reference;
    using const_iterator = Storage::const_reverse_iterator;
    using iterator = const_iterator;
    /// @}

    /// An iterator at the first segment, the one next to the root.
    [[nodiscard]] const_iterator begin() const noexcept TAVIK_LIFETIMEBOUND { return leafFirst_.rbegin(); }
    /// An iterator past the leaf.
    [[nodiscard]] const_iterator end() const noexcept TAVIK_LIFETIMEBOUND { return leafFirst_.rend(); }

    /// The number of segments.
    [[nodiscard]] std::size_t size() const noexcept { return leafFirst_.size(); }
    /// Whether there are none, as in the root path.
    [[nodiscard]] bool empty() const noexcept { return leafFirst_.empty(); }

    /// The first segment, the one next to the root, which is not `[0]`. It is a fatal assertion if there is none.
    [[nodiscard]] const ObjectPathSegment& front() const noexcept TAVIK_LIFETIMEBOUND {
        return at(size() - 1, "front");
    }
    /// The last segment, the leaf. It is a fatal assertion if there is none.
    [[nodiscard]] const ObjectPathSegment& back() const noexcept TAVIK_LIFETIMEBOUND { return at(0, "back"); }

    /// The segment `index` steps from the leaf towards the root: `[0]` is the leaf, `back()`, against the order of
    /// iteration. An index at or beyond `size()` is a fatal assertion.
    [[nodiscard]] const ObjectPathSegment& operator[](std::size_t index) const noexcept TAVIK_LIFETIMEBOUND {
        return at(index, "operator[]");
    }

private:
    friend class ObjectPath;

    [[nodiscard]] const ObjectPathSegment& at(std::size_t index, const char* function) const noexcept {
        if (index >= size()) {
            const std::size_t count = size();
            Impl::vfmassertb("", __FILE__, function, __LINE__, "segment index out of range: there are {} segments",
                             fmt::make_format_args(count));
        }
        return leafFirst_[index];
    }

    Storage leafFirst_;
};

/// A cursor in a path: a position from which to step towards the root without changing reference counts. It owns
/// nothing, and is valid until the path it was taken from is destroyed or assigned to; so is what its members return
/// by reference. At the root, it is a fatal assertion to ask for a segment or to step further.
struct ObjectPath::View {
    /// The pointer to the node at this level: the `segment` of the path or the `parent` of a node. What it points to is
    /// null at the root.
    const std::shared_ptr<const Impl::Segment>* segment;

    /// The pointer to the value chain at this level: the `values` of the path or the `previous` of a node.
    const std::shared_ptr<const Impl::Value>* values;

    /// Whether the cursor has left the first segment and is at the root. Since 1.2.
    [[nodiscard]] bool isRoot() const noexcept { return *segment == nullptr; }

    /// The name of the segment. Since 1.2.
    [[nodiscard]] const String& name() const noexcept;

    /// The value of the attribute with the given key; null when there is none. Compares the keys one by one. Since 1.2.
    [[nodiscard]] const String* attribute(std::string_view key) const noexcept;

    /// The attributes as pairs of references to key and value, in ascending order of the keys. Since 1.2.
    [[nodiscard]] ObjectPathAttributeRange attributeRange() const noexcept;

    /// The path that ends at this cursor. Increments two reference counts. Since 1.2.
    [[nodiscard]] ObjectPath path() const noexcept { return {*segment, *values}; }

    /// The cursor one level closer to the root. Walks the attributes of this level.
    [[nodiscard]] View parent() const noexcept;

private:
    friend class ObjectPath;
    [[nodiscard]] const Impl::Segment& node(const char* function) const noexcept;

    /// The cursor `count` levels closer to the root.
    [[nodiscard]] View ancestor(std::size_t count) const noexcept;
};

/// Cursors at all segments of a path, as a range that runs from the first segment to the leaf: the result of
/// `ObjectPath::views`. It owns its cursors but no nodes, so they are valid until the path is destroyed or assigned to.
/// Iterators are valid until the range is destroyed or assigned to. Since 1.3.
class ObjectPath::Views {
public:
    /// The types that a standard container names.
    /// @{
    using value_type = View;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using const_reference = const View&;
    using reference = const_reference;
    using const_iterator = const View*;
    using iterator = const_iterator;
    /// @}

    /// A pointer to the cursor at the first segment, the one next to the root.
    [[nodiscard]] const_iterator begin() const noexcept TAVIK_LIFETIMEBOUND { return rootFirst_.data(); }
    /// A pointer past the cursor at the leaf.
    [[nodiscard]] const_iterator end() const noexcept TAVIK_LIFETIMEBOUND { return begin() + size(); }

    /// The number of segments.
    [[nodiscard]] std::size_t size() const noexcept { return rootFirst_.size(); }
    /// Whether there are none, as in the root path.
    [[nodiscard]] bool empty() const noexcept { return rootFirst_.empty(); }

private:
    friend class ObjectPath;

    boost::container::small_vector<View, 10> rootFirst_;
};

inline const Impl::Segment& ObjectPath::View::node(const char* function) const noexcept {
    if (isRoot()) {
        Impl::vfmassertb("", __FILE__, function, __LINE__, "unexpected root path", {});
    }
    return **segment;
}

inline const String& ObjectPath::View::name() const noexcept {
    return node("name").name;
}

inline const String* ObjectPath::View::attribute(std::string_view key) const noexcept {
    return Impl::findAttribute(node("attribute"), values->get(), key);
}

inline ObjectPathAttributeRange ObjectPath::View::attributeRange() const noexcept {
    return {node("attributeRange").attributeKeys, values->get()};
}

inline ObjectPath::View ObjectPath::View::parent() const noexcept {
    const Impl::Segment& level = node("parent");
    const std::shared_ptr<const Impl::Value>* outer = values;
    for (std::size_t count = level.attributeKeys.size(); count > 0; --count) {
        outer = &(*outer)->previous;
    }
    return {&level.parent, outer};
}

inline ObjectPath::View ObjectPath::View::ancestor(std::size_t count) const noexcept {
    View view = *this;
    for (; count > 0; --count) {
        view = view.parent();
    }
    return view;
}

inline std::size_t ObjectPath::depth() const noexcept {
    std::size_t count = 0;
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        ++count;
    }
    return count;
}

inline ObjectPath ObjectPath::prefix(std::size_t count) const noexcept {
    const std::size_t last = depth();
    return View{&segment, &values}.ancestor(last > count ? last - count : 0).path();
}

inline ObjectPath ObjectPath::commonPrefix(const ObjectPath& other) const noexcept {
    const std::size_t leftDepth = depth();
    const std::size_t rightDepth = other.depth();
    const std::size_t shared = leftDepth < rightDepth ? leftDepth : rightDepth;
    View left = View{&segment, &values}.ancestor(leftDepth - shared);
    View right = View{&other.segment, &other.values}.ancestor(rightDepth - shared);
    while (*left.segment != *right.segment || *left.values != *right.values) {
        left = left.parent();
        right = right.parent();
    }
    return left.path();
}

inline std::optional<ObjectPath> ObjectPath::relativeTo(const ObjectPath& base) const {
    return replacePrefix(base, ObjectPath());
}

}  // namespace Tavik
