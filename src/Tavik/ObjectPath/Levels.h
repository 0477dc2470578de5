/// @file
/// The levels of a path, for walking it without counting owners.

#pragma once

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// One level of a path: its segment, and the value chain that begins with the values of that segment.
struct Level {
    const Segment* segment;
    const Value* values;
};

/// The levels of a path, the leaf first. Owns no nodes: the path must live meanwhile. Allocates only for more than ten
/// levels, as the segments of `ObjectPath::explode` do.
using Levels = boost::container::small_vector<Level, 10>;

/// The node `count` steps along a value chain.
[[nodiscard]] inline const Value* advance(const Value* values, std::size_t count) noexcept {
    for (; count > 0; --count) {
        values = values->previous.get();
    }
    return values;
}

/// Throws `std::bad_alloc`.
[[nodiscard]] inline Levels levelsOf(const ObjectPath& path) {
    Levels levels;
    const Value* values = path.values.get();
    for (const Segment* segment = path.segment.get(); segment != nullptr; segment = segment->parent.get()) {
        levels.push_back({segment, values});
        values = advance(values, segment->attributeKeys.size());
    }
    return levels;
}

}  // namespace Tavik::Impl
