/// @file
/// The segments of a path one by one: as values, and as cursors that own nothing.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>

#include <fmt/format.h>
#include <boost/container/small_vector.hpp>

#include <Tavik/Core/Lifetime.h>
#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Require.h>

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
        TAVIK_OBJECT_PATH_REQUIRE(!empty(), "segment index out of range: there are 0 segments", {});
        return leafFirst_.back();
    }
    /// The last segment, the leaf. It is a fatal assertion if there is none.
    [[nodiscard]] const ObjectPathSegment& back() const noexcept TAVIK_LIFETIMEBOUND {
        TAVIK_OBJECT_PATH_REQUIRE(!empty(), "segment index out of range: there are 0 segments", {});
        return leafFirst_.front();
    }

    /// The segment `index` steps from the leaf towards the root: `[0]` is the leaf, `back()`, against the order of
    /// iteration. An index at or beyond `size()` is a fatal assertion.
    [[nodiscard]] const ObjectPathSegment& operator[](std::size_t index) const noexcept TAVIK_LIFETIMEBOUND {
        const std::size_t count = size();
        TAVIK_OBJECT_PATH_REQUIRE(index < count, "segment index out of range: there are {} segments",
                                  fmt::make_format_args(count));
        return leafFirst_[index];
    }

private:
    friend class ObjectPath;

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

    /// The segment as it appears in the canonical text of a path, such as dev[bus=pci][id=3]; "/" at the root. Linear
    /// in the text; its string allocates for more than 15 bytes. Since 1.4.
    [[nodiscard]] TAVIK_OBJECT_PATH_EXPORT String toString() const noexcept;

    /// Whether the paths that end at both cursors are equal, whatever paths the cursors were taken from. Compares two
    /// pointers. Since 1.4.
    [[nodiscard]] friend bool operator==(const View& left, const View& right) noexcept {
        return *left.segment == *right.segment && *left.values == *right.values;
    }
    /// The opposite of `==`. Since 1.4.
    [[nodiscard]] friend bool operator!=(const View& left, const View& right) noexcept { return !(left == right); }

    /// Writes `toString()` to an Abseil sink. Since 1.4.
    template <typename Sink>
    friend void AbslStringify(Sink& sink, const View& self) {
        AbslStringify(sink, self.toString());
    }
};

/// Writes `toString()` of the cursor; width and fill of the stream apply. Throws what the stream throws. Since 1.4.
TAVIK_OBJECT_PATH_EXPORT std::ostream& operator<<(std::ostream& out, const ObjectPath::View& view);

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
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    using reverse_iterator = const_reverse_iterator;
    /// @}

    /// A pointer to the cursor at the first segment, the one next to the root.
    [[nodiscard]] const_iterator begin() const noexcept TAVIK_LIFETIMEBOUND { return rootFirst_.data(); }
    /// A pointer past the cursor at the leaf.
    [[nodiscard]] const_iterator end() const noexcept TAVIK_LIFETIMEBOUND { return begin() + size(); }

    /// The number of segments.
    [[nodiscard]] std::size_t size() const noexcept { return rootFirst_.size(); }
    /// Whether there are none, as in the root path.
    [[nodiscard]] bool empty() const noexcept { return rootFirst_.empty(); }

    /// An iterator at the leaf, from which to iterate towards the root. Since 1.4.
    [[nodiscard]] const_reverse_iterator rbegin() const noexcept TAVIK_LIFETIMEBOUND {
        return const_reverse_iterator(end());
    }
    /// An iterator past the first segment. Since 1.4.
    [[nodiscard]] const_reverse_iterator rend() const noexcept TAVIK_LIFETIMEBOUND {
        return const_reverse_iterator(begin());
    }

    /// The cursor at the first segment, `[0]`. It is a fatal assertion if there is none. Since 1.4.
    [[nodiscard]] const View& front() const noexcept TAVIK_LIFETIMEBOUND {
        TAVIK_OBJECT_PATH_REQUIRE(!empty(), "segment index out of range: there are 0 segments", {});
        return rootFirst_.front();
    }
    /// The cursor at the leaf. It is a fatal assertion if there is none. Since 1.4.
    [[nodiscard]] const View& back() const noexcept TAVIK_LIFETIMEBOUND {
        TAVIK_OBJECT_PATH_REQUIRE(!empty(), "segment index out of range: there are 0 segments", {});
        return rootFirst_.back();
    }

    /// The cursor at the segment `index` steps from the first one, in the order of iteration: `[0]` is `front()`, while
    /// that of `explode()` is the leaf. An index at or beyond `size()` is a fatal assertion. Since 1.4.
    [[nodiscard]] const View& operator[](std::size_t index) const noexcept TAVIK_LIFETIMEBOUND {
        const std::size_t count = size();
        TAVIK_OBJECT_PATH_REQUIRE(index < count, "segment index out of range: there are {} segments",
                                  fmt::make_format_args(count));
        return rootFirst_[index];
    }

private:
    friend class ObjectPath;

    boost::container::small_vector<View, 10> rootFirst_;
};

inline const String& ObjectPath::View::name() const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(!isRoot(), "unexpected root path", {});
    return (*segment)->name;
}

inline const String* ObjectPath::View::attribute(std::string_view key) const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(!isRoot(), "unexpected root path", {});
    return Impl::findAttribute(**segment, values->get(), key);
}

inline ObjectPathAttributeRange ObjectPath::View::attributeRange() const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(!isRoot(), "unexpected root path", {});
    return {(*segment)->attributeKeys, values->get()};
}

inline ObjectPath::View ObjectPath::View::parent() const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(!isRoot(), "unexpected root path", {});
    return {&(*segment)->parent, Impl::advance(values, (*segment)->attributeKeys.size())};
}

inline std::size_t ObjectPath::depth() const noexcept {
    std::size_t count = 0;
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        ++count;
    }
    return count;
}

inline std::optional<ObjectPath> ObjectPath::relativeTo(const ObjectPath& base) const {
    return replacePrefix(base, ObjectPath());
}

}  // namespace Tavik
