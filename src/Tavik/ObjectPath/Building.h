/// @file
/// The one road by which segments get into paths: first their values, from the last to the first, then the segment. So
/// every node exists before the one that links to it.

#pragma once

#include <Tavik/ObjectPath/Interning.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// Tells the core library, before the first node exists, that owners are shared between threads.
void ensureThreadSafePointers();

/// The value chain `chain` with one more value before it. Throws `std::bad_alloc` and `std::system_error`.
[[nodiscard]] inline std::shared_ptr<const Value> prependValue(const String& value,
                                                               std::shared_ptr<const Value> chain) {
    return Dedup<Value>::intern({StringCommon<char>::dedup(value), std::move(chain)});
}

/// The path whose leaf has the given parent, name and keys, and whose value chain is `chain`, which begins with the
/// values of these keys. `keys` are in ascending order, distinct, and have passed through `dedup`; they stay as they
/// are unless a new node takes them. Throws `std::bad_alloc` and `std::system_error`.
[[nodiscard]] inline ObjectPath closeSegment(const std::shared_ptr<const Segment>& parent,
                                             std::shared_ptr<const Value> chain,
                                             std::string_view name,
                                             std::vector<String>& keys) {
    Segment key{StringCommon<char>::dedup(name), std::move(keys), borrow(parent)};
    std::shared_ptr<const Segment> leaf = internLinked(key, parent);
    keys = std::move(key.attributeKeys);
    return {std::move(leaf), std::move(chain)};
}

}  // namespace Tavik::Impl
