/// @file
/// Internal: the content of a node, to look the node up by without creating one.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

#include <boost/container/small_vector.hpp>

#include <Tavik/Core/TextRef.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// A key and a value, neither of which it owns.
using Attribute = std::pair<TextRef, TextRef>;

/// The attributes of a segment, in ascending order of distinct keys.
using Attributes = std::span<const Attribute>;

/// Allocates only for more than four attributes.
using AttributeVector = boost::container::small_vector<Attribute, 4>;

/// The node that a node owns.
/// @{
inline std::shared_ptr<const Segment>& linkOf(Segment& node) noexcept {
    return node.parent;
}
inline std::shared_ptr<const Value>& linkOf(Value& node) noexcept {
    return node.previous;
}
/// @}

/// The link in the content of a node. Refers to an owner of the linked node, which must outlive it.
template <typename T>
class LinkRef {
public:
    /// A node that is created copies `owner`.
    [[nodiscard]] static LinkRef copying(const std::shared_ptr<const T>& owner) noexcept { return {owner, false}; }
    /// A node that is created takes `owner` over.
    [[nodiscard]] static LinkRef moving(std::shared_ptr<const T>& owner) noexcept { return {owner, true}; }

    [[nodiscard]] const T* get() const noexcept { return owner_->get(); }

    /// The owner that a new node keeps: taken from `owner`, or a copy.
    [[nodiscard]] std::shared_ptr<const T> takeOwner() noexcept {
        // Casting const away is defined, because `moving` was given an object that is not constant.
        return takes_ ? std::move(const_cast<std::shared_ptr<const T>&>(*owner_)) : *owner_;
    }

private:
    LinkRef(const std::shared_ptr<const T>& owner, bool takes) noexcept : owner_(&owner), takes_(takes) {}

    const std::shared_ptr<const T>* owner_;
    bool takes_;
};

/// The content of a segment node, to look the node up by. Owns nothing. Compares and hashes like the node.
struct SegmentContent {
    using Node = Segment;

    const TextRef& name;
    Attributes attributes;
    LinkRef<Segment> link;

    [[nodiscard]] friend bool operator==(const Segment& node, const SegmentContent& content) noexcept {
        const auto hasKey = [](const String& key, const Attribute& attribute) { return key == attribute.first; };
        return node.name == content.name && node.parent.get() == content.link.get() &&
               std::equal(node.attributeKeys.begin(), node.attributeKeys.end(), content.attributes.begin(),
                          content.attributes.end(), hasKey);
    }

    template <typename H>
    friend H AbslHashValue(H state, const SegmentContent& content) {
        state = H::combine(std::move(state), content.name.keyedHash());
        for (const auto& [key, value] : content.attributes) {
            state = H::combine(std::move(state), key.keyedHash());
        }
        return H::combine(std::move(state), reinterpret_cast<std::uintptr_t>(content.link.get()));
    }
};

/// The content of a value node, to look the node up by. Owns nothing. Compares and hashes like the node.
struct ValueContent {
    using Node = Value;

    const TextRef& value;
    LinkRef<Value> link;

    [[nodiscard]] friend bool operator==(const Value& node, const ValueContent& content) noexcept {
        return node.value == content.value && node.previous.get() == content.link.get();
    }

    template <typename H>
    friend H AbslHashValue(H state, const ValueContent& content) {
        return H::combine(std::move(state), content.value.keyedHash(),
                          reinterpret_cast<std::uintptr_t>(content.link.get()));
    }
};

/// The content of a node of type `T`.
template <typename T>
using ContentOf = std::conditional_t<std::is_same_v<T, Segment>, SegmentContent, ValueContent>;

}  // namespace Tavik::Impl
