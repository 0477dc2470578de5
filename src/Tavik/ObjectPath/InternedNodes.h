/// @file
/// The nodes that paths are made of, and the tables that intern them. Their layout is part of the ABI.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/hash/hash.h>

#include <Tavik/Core/String.h>
#include <Tavik/ObjectPath/Export.h>
#include <Tavik/ObjectPath/Layout.h>

namespace Tavik {

/// What paths are made of. Programs may look at nodes and tables; only the library changes them.
namespace Impl {

/// One level of the shape of a path: the name and the attribute keys of a segment, without the values. Interned: equal
/// content is the same node, so nodes are compared by pointer. Never changes once interned.
struct Segment {
    /// The name, unescaped.
    String name;

    /// The keys in ascending order, without duplicates; as many values belong to this level in the value chain.
    std::vector<String> attributeKeys;

    /// The node of the enclosing segment; null for a first segment.
    std::shared_ptr<const Segment> parent;

    /// Whether this is the wildcard for zero or more segments: the name is "..." and there are no attributes.
    [[nodiscard]] TAVIK_OBJECT_PATH_EXPORT bool isAnySequence() const noexcept;

    /// Compares links by pointer, which suffices because the linked nodes are interned themselves.
    [[nodiscard]] friend bool operator==(const Segment& left, const Segment& right) noexcept {
        return left.name == right.name && left.attributeKeys == right.attributeKeys && left.parent == right.parent;
    }
    /// Hashes strings under the key of the process, and the link as a pointer.
    template <typename H>
    friend H AbslHashValue(H state, const Segment& node) {
        state = H::combine(std::move(state), node.name.keyedHash());
        for (const String& key : node.attributeKeys) {
            state = H::combine(std::move(state), key.keyedHash());
        }
        return H::combine(std::move(state), reinterpret_cast<std::uintptr_t>(node.parent.get()));
    }
};

/// One attribute value in the value chain of a path. Interned like `Segment`. It knows neither its key nor its segment,
/// so paths of different shape share the nodes of equal chains.
struct Value {
    /// The value, unescaped.
    String value;

    /// The node that follows in the chain, created before this one: the value of the next key of the same segment, or
    /// for the last key, the first value of the closest ancestor with attributes; null at the end.
    std::shared_ptr<const Value> previous;

    /// Compares the link by pointer.
    [[nodiscard]] friend bool operator==(const Value& left, const Value& right) noexcept {
        return left.value == right.value && left.previous == right.previous;
    }
    /// Hashes the string under the key of the process, and the link as a pointer.
    template <typename H>
    friend H AbslHashValue(H state, const Value& node) {
        return H::combine(std::move(state), node.value.keyedHash(),
                          reinterpret_cast<std::uintptr_t>(node.previous.get()));
    }
};

/// The interning table of one node type: a map from the content of every living node to a weak reference to it. It owns
/// no node. All members are static and live in the library. They are part of the ABI and cannot change before
/// version 2.
template <typename T>
struct Dedup {
    /// Maps the content of a node to a weak reference to it, which has expired where the node is being released.
    using Table = absl::flat_hash_map<T, std::weak_ptr<const T>>;

    /// The table. A reference, because the table itself is never destroyed: paths may be released until the process has
    /// ended. Hold `mutex_` to read it unless no other thread can create or release paths. While holding it, do not
    /// create or release a path, nor lock a weak reference: releasing the node may then take `mutex_` again. Only count
    /// and iterate: a look-up hashes in the program, whose copy of Abseil may have a different seed than the library's.
    static Table& table_;

    /// Guards `table_` and the weak references in it.
    static std::mutex mutex_;

    /// The deleter of every `std::shared_ptr` to a node: removes the node's entry unless it already refers to a
    /// successor, then destroys the node; its memory is freed with the control block. The caller must not hold
    /// `mutex_`. A lock that fails terminates the process.
    static void deleter(const T* node);

    /// The living node equal to `key`, created when there is none. Attribute keys must be distinct and in ascending
    /// order. Throws `std::bad_alloc` and `std::system_error`. Briefly locks `mutex_`, which the caller must not hold.
    [[nodiscard]] static std::shared_ptr<const T> intern(T key);
};

// A program that instantiated these itself would have tables of its own.
extern template struct TAVIK_OBJECT_PATH_EXPORT Dedup<Segment>;
extern template struct TAVIK_OBJECT_PATH_EXPORT Dedup<Value>;

/// The live table of segments, not a copy; its size is the number of segment nodes that live or are being released.
/// Hold `Dedup<Segment>::mutex_` while other threads may create or release paths.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT const Dedup<Segment>::Table& inspectSegmentTable() noexcept;

/// The live table of attribute values, not a copy; its size is the number of value nodes that live or are being
/// released. Hold `Dedup<Value>::mutex_` while other threads may create or release paths.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT const Dedup<Value>::Table& inspectValueTable() noexcept;

/// The link that follows after `count` values in a chain whose first link is `link`.
[[nodiscard]] inline const std::shared_ptr<const Value>* advance(const std::shared_ptr<const Value>* link,
                                                                 std::size_t count) noexcept {
    for (; count > 0; --count) {
        link = &(*link)->previous;
    }
    return link;
}

/// The value of the attribute of `node` with the given key, where `value` is its first one; null when there is none.
[[nodiscard]] inline const String* findAttribute(const Segment& node,
                                                 const Value* value,
                                                 std::string_view key) noexcept {
    for (const String& candidate : node.attributeKeys) {
        if (candidate == key) {
            return &value->value;
        }
        value = value->previous.get();
    }
    return nullptr;
}

static_assert(std::is_nothrow_move_constructible_v<Segment> && std::is_nothrow_move_constructible_v<Value>);

}  // namespace Impl
}  // namespace Tavik
