/// @file
/// One segment of a path, and its attributes.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <absl/container/btree_map.h>
#include <boost/container/small_vector.hpp>

#include <Tavik/Core/Lifetime.h>
#include <Tavik/Core/String.h>
#include <Tavik/ObjectPath/Export.h>
#include <Tavik/ObjectPath/InternedNodes.h>
#include <Tavik/ObjectPath/ObjectPathFwd.h>
#include <Tavik/ObjectPath/Require.h>

namespace Tavik {

/// The attributes of one segment: a forward range of pairs of references to key and value, in ascending order of the
/// keys, for `for (const auto& [key, value] : segment.attributeRange())`. It owns nothing, and is valid as long as the
/// segment, or the path it was taken from, is neither destroyed nor assigned to. Since 1.2.
class ObjectPathAttributeRange {
public:
    /// An iterator, valid as long as the range is. Dereferencing gives a pair by value.
    class iterator {
        struct Arrow;

    public:
        /// The types that a standard iterator names. The category is that of C++17, whose forward iterators give
        /// references.
        /// @{
        using value_type = std::pair<const String&, const String&>;
        using reference = value_type;
        using pointer = Arrow;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::input_iterator_tag;
        using iterator_concept = std::forward_iterator_tag;
        /// @}

        /// An iterator of no range.
        iterator() noexcept = default;

        /// The key and the value.
        [[nodiscard]] reference operator*() const noexcept;
        /// A member of the pair: `first` is the key, `second` the value. Since 1.3.
        [[nodiscard]] pointer operator->() const noexcept;
        /// Steps to the next attribute.
        /// @{
        iterator& operator++() noexcept;
        iterator operator++(int) noexcept {
            const iterator before = *this;
            ++*this;
            return before;
        }
        /// @}
        /// Whether both are at the same attribute.
        [[nodiscard]] friend bool operator==(const iterator& left, const iterator& right) noexcept {
            return left.key_ == right.key_;
        }
        /// The opposite of `==`.
        [[nodiscard]] friend bool operator!=(const iterator& left, const iterator& right) noexcept {
            return left.key_ != right.key_;
        }

    private:
        friend class ObjectPathAttributeRange;
        iterator(const String* key, const Impl::Value* value) noexcept : key_(key), value_(value) {}

        const String* key_ = nullptr;
        const Impl::Value* value_ = nullptr;
    };
    /// The names of a standard range.
    /// @{
    using const_iterator = iterator;
    using value_type = iterator::value_type;
    /// @}

    /// The attributes with the given keys, whose values are the first ones of the chain `values`.
    ObjectPathAttributeRange(const std::vector<String>& keys, const Impl::Value* values) noexcept
        : keys_(&keys), values_(values) {}

    /// An iterator at the first attribute.
    [[nodiscard]] iterator begin() const noexcept { return {keys_->data(), values_}; }
    /// An iterator past the last attribute.
    [[nodiscard]] iterator end() const noexcept { return {keys_->data() + keys_->size(), nullptr}; }
    /// The number of attributes.
    [[nodiscard]] std::size_t size() const noexcept { return keys_->size(); }
    /// Whether there are none.
    [[nodiscard]] bool empty() const noexcept { return keys_->empty(); }

private:
    const std::vector<String>* keys_;
    const Impl::Value* values_;
};

/// The result of `->` of an iterator: holds the pair, which is made on the fly and has no address.
struct ObjectPathAttributeRange::iterator::Arrow {
    /// References to the key and the value.
    value_type pair;
    /// The pair. Valid as long as this object: until the end of the expression that has the `->`.
    [[nodiscard]] const value_type* operator->() const noexcept { return &pair; }
};

/// One segment of a path, a name and attributes, as `ObjectPath::leaf` and `ObjectPath::explode` return it.
///
/// It owns what it refers to, so it may outlive the path it was taken from. A copy increments two reference counts.
/// A segment that was default-constructed or moved from has no node: every use but assignment and comparison is a fatal
/// assertion.
struct TAVIK_OBJECT_PATH_EXPORT ObjectPathSegment {
    /// The node with the name and the attribute keys. Never null in a segment that the library returns.
    std::shared_ptr<const Impl::Segment> segment;

    /// The chain of attribute values, one node for each value. Its first `segment->attributeKeys.size()` nodes hold the
    /// values of this segment, in the order of the keys; the nodes after them belong to the enclosing segments.
    std::shared_ptr<const Impl::Value> values;

    /// The name. Valid as long as this segment, or the path it was taken from, is neither destroyed nor assigned to.
    /// Since 1.1.
    [[nodiscard]] const String& name() const noexcept TAVIK_LIFETIMEBOUND;

    /// The value of the attribute with the given key; null when there is none. Compares the keys one by one. Valid as
    /// long as the result of `name` is. Since 1.1.
    [[nodiscard]] const String* attribute(std::string_view key) const noexcept TAVIK_LIFETIMEBOUND;

    /// The attributes as pairs of references to key and value, in ascending order of the keys. Valid as long as the
    /// result of `name` is. Since 1.2.
    [[nodiscard]] ObjectPathAttributeRange attributeRange() const noexcept TAVIK_LIFETIMEBOUND;

    /// The attributes as a map of their own. Allocates the map and a copy of every string of more than 15 bytes. Throws
    /// `std::bad_alloc`.
    [[nodiscard]] absl::btree_map<String, String> attributes() const;

    /// The segment as it appears in the canonical text of a path, such as dev[bus=pci][id=3]. Linear in the text; its
    /// string allocates for more than 15 bytes. Since 1.1.
    [[nodiscard]] String toString() const noexcept;

    /// Whether both have the same name and the same attributes, whatever encloses them. Linear in their strings;
    /// constant time when both refer to the same nodes. Since 1.1.
    [[nodiscard]] friend bool operator==(const ObjectPathSegment& left, const ObjectPathSegment& right) noexcept {
        return left.equals(right);
    }
    /// The opposite of `==`.
    [[nodiscard]] friend bool operator!=(const ObjectPathSegment& left, const ObjectPathSegment& right) noexcept {
        return !left.equals(right);
    }

    /// Writes `toString()` to an Abseil sink. Since 1.1.
    template <typename Sink>
    friend void AbslStringify(Sink& sink, const ObjectPathSegment& self) {
        AbslStringify(sink, self.toString());
    }

private:
    [[nodiscard]] bool equals(const ObjectPathSegment& other) const noexcept;
};

/// Writes the segment as it appears in the canonical text of a path; width and fill of the stream apply. Throws what
/// the stream throws. Since 1.1.
TAVIK_OBJECT_PATH_EXPORT std::ostream& operator<<(std::ostream& out, const ObjectPathSegment& segment);

inline ObjectPathAttributeRange::iterator::reference ObjectPathAttributeRange::iterator::operator*() const noexcept {
    return {*key_, value_->value};
}

inline ObjectPathAttributeRange::iterator& ObjectPathAttributeRange::iterator::operator++() noexcept {
    ++key_;
    value_ = value_->previous.get();
    return *this;
}

inline ObjectPathAttributeRange::iterator::pointer ObjectPathAttributeRange::iterator::operator->() const noexcept {
    return {**this};
}

inline const String& ObjectPathSegment::name() const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(segment != nullptr, "unexpected empty segment", {});
    return segment->name;
}

inline const String* ObjectPathSegment::attribute(std::string_view key) const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(segment != nullptr, "unexpected empty segment", {});
    return Impl::findAttribute(*segment, values.get(), key);
}

inline ObjectPathAttributeRange ObjectPathSegment::attributeRange() const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(segment != nullptr, "unexpected empty segment", {});
    return {segment->attributeKeys, values.get()};
}

inline bool ObjectPathSegment::equals(const ObjectPathSegment& other) const noexcept {
    if (segment == other.segment && values == other.values) {
        return true;
    }
    if (segment == nullptr || other.segment == nullptr || segment->name != other.segment->name ||
        segment->attributeKeys != other.segment->attributeKeys) {
        return false;
    }
    const Impl::Value* left = values.get();
    const Impl::Value* right = other.values.get();
    for (std::size_t count = segment->attributeKeys.size(); count > 0 && left != right; --count) {
        if (left->value != right->value) {
            return false;
        }
        left = left->previous.get();
        right = right->previous.get();
    }
    return true;
}

namespace Impl {

/// A string of any type as a `String`: what converts to one, or a JSON string of the nlohmann library.
/// @{
template <typename Text, std::enable_if_t<isString<Text> || isText<Text>, int> = 0>
String copyText(const Text& text) {
    return text;
}
template <typename Json, typename Text = typename Json::string_t>
String copyText(const Json& json) {
    return std::string_view(json.template get_ref<const Text&>());
}
/// @}

/// The key and the value of an element of a range of attributes: a pair, or an item of a JSON object.
/// @{
template <typename Pair>
auto copyAttribute(const Pair& pair) -> decltype(std::pair(copyText(pair.first), copyText(pair.second))) {
    return {copyText(pair.first), copyText(pair.second)};
}
template <typename Item>
auto copyAttribute(const Item& item) -> decltype(std::pair(copyText(item.key()), copyText(item.value()))) {
    return {copyText(item.key()), copyText(item.value())};
}
/// @}

/// Enables a function for ranges of attributes, except those that convert to the map of attributes.
template <typename Range>
using EnableAttributes = std::enable_if_t<!std::is_convertible_v<Range, const absl::btree_map<String, String>&>,
                                          decltype(copyAttribute(*std::begin(std::declval<Range&>())))>;

/// Attributes in the order of a range. Allocates only for more than four.
using CopiedAttributes = boost::container::small_vector<std::pair<String, String>, 4>;

/// The attributes in a range, copied. Throws `std::bad_alloc`.
template <typename Range>
CopiedAttributes copyAttributes(Range& range) {
    CopiedAttributes copies;
    for (auto&& element : range) {
        copies.push_back(copyAttribute(element));
    }
    return copies;
}

/// Enables a deleted function for strings, so that a call with text instead of a path does not compile, and the message
/// names what it lacks.
template <typename Text>
using EnableText = std::enable_if_t<isString<Text> || isText<Text>>;

}  // namespace Impl
}  // namespace Tavik

#ifdef __cpp_lib_ranges  // <string_view> declares both, because it specialises them for its own view
/// Let the adaptors of ranges take a range of attributes from a temporary, and copy it. Since 1.3.
/// @{
template <>
inline constexpr bool std::ranges::enable_view<Tavik::ObjectPathAttributeRange> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<Tavik::ObjectPathAttributeRange> = true;
/// @}
#endif
