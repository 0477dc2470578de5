/// @file
/// The one road by which segments get into paths.

#pragma once

#include <iterator>

#include <Tavik/ObjectPath/Interning.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// Tells the core library, before the first node exists, that owners are shared between threads.
void ensureThreadSafePointers();

/// The path below `parent` and `values` with one more segment. `attributes` is a range of pairs of key and value in
/// ascending order of distinct keys; keys and values are whatever `dedup` takes.
///
/// Nodes are interned from the last value to the first and the segment after them, so every node exists before the one
/// that links to it. Throws `std::bad_alloc` and `std::system_error`; the nodes made so far go again.
template <typename Attributes>
[[nodiscard]] ObjectPath appendSegment(const std::shared_ptr<const Segment>& parent,
                                       std::shared_ptr<const Value> values,
                                       std::string_view name,
                                       const Attributes& attributes) {
    using Common = StringCommon<char>;

    ensureThreadSafePointers();
    Segment key{{}, std::vector<String>(std::size(attributes)), borrow(parent)};
    auto attributeKey = key.attributeKeys.rbegin();
    for (auto attribute = std::rbegin(attributes); attribute != std::rend(attributes); ++attribute, ++attributeKey) {
        *attributeKey = Common::dedup(attribute->first);
        values = Dedup<Value>::intern({Common::dedup(attribute->second), std::move(values)});
    }
    key.name = Common::dedup(name);
    return {internLinked(key, parent), std::move(values)};
}

}  // namespace Tavik::Impl
