/// @file
/// Finding or creating the node with a given content.

#pragma once

#include <algorithm>
#include <memory>
#include <utility>

#include <boost/container/small_vector.hpp>

#include <Tavik/Core/TextRef.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// A key and a value, neither of which it owns.
using Attribute = std::pair<TextRef, TextRef>;

/// The attributes of a segment, in ascending order of distinct keys. Allocates only for more than four.
using Attributes = boost::container::small_vector<Attribute, 4>;

/// The content of a segment node, to look the node up by. Owns nothing. Compares and hashes like the node.
struct SegmentContent {
    using Node = Segment;

    TextRef name;
    const Attributes& attributes;
    const std::shared_ptr<const Segment>& link;

    [[nodiscard]] friend bool operator==(const Segment& node, const SegmentContent& content) noexcept {
        const auto hasKey = [](const String& key, const Attribute& attribute) { return key == attribute.first; };
        return node.name == content.name && node.parent == content.link &&
               std::equal(node.attributeKeys.begin(), node.attributeKeys.end(), content.attributes.begin(),
                          content.attributes.end(), hasKey);
    }

    template <typename H>
    friend H AbslHashValue(H state, const SegmentContent& content) {
        state = H::combine(std::move(state), content.name.keyedHash());
        for (const auto& [key, value] : content.attributes) {
            state = H::combine(std::move(state), key.keyedHash());
        }
        return H::combine(std::move(state), content.attributes.size(), content.link);
    }
};

/// The content of a value node, to look the node up by. Owns nothing. Compares and hashes like the node.
struct ValueContent {
    using Node = Value;

    TextRef value;
    const std::shared_ptr<const Value>& link;

    [[nodiscard]] friend bool operator==(const Value& node, const ValueContent& content) noexcept {
        return node.value == content.value && node.previous == content.link;
    }

    template <typename H>
    friend H AbslHashValue(H state, const ValueContent& content) {
        return H::combine(std::move(state), content.value.keyedHash(), content.link);
    }
};

/// The living node with the given content, created when there is none. The caller must not hold a table's mutex.
/// Throws `std::bad_alloc` and `std::system_error`.
[[nodiscard]] std::shared_ptr<const Segment> intern(const SegmentContent& content);
[[nodiscard]] std::shared_ptr<const Value> intern(const ValueContent& content);

}  // namespace Tavik::Impl
