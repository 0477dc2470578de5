/// @file
/// Internal: the levels of a path, for walking it without changing reference counts.

#pragma once

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// One level of a path: its segment, and the value chain that begins with the values of that segment.
struct Level {
    const Segment* segment;
    const Value* values;
};

/// The levels of a path, from the first segment to the leaf. Owns no nodes, so it must not outlive the path. Allocates
/// only for more than ten levels, as the segments of `ObjectPath::explode` do.
using Levels = boost::container::small_vector<Level, 10>;

/// The attributes of the segment of a level, as pairs of references to key and value.
[[nodiscard]] inline ObjectPathAttributeRange attributesOf(const Level& level) noexcept {
    return {level.segment->attributeKeys, level.values};
}

/// The node `count` steps along a value chain.
[[nodiscard]] inline const Value* advance(const Value* values, std::size_t count) noexcept {
    for (; count > 0; --count) {
        values = values->previous.get();
    }
    return values;
}

/// The level that encloses `level`.
[[nodiscard]] inline Level outer(const Level& level) noexcept {
    return {level.segment->parent.get(), advance(level.values, level.segment->attributeKeys.size())};
}

/// Throws `std::bad_alloc`. Always inline: a call costs a match in a set of patterns 2 % more.
[[nodiscard, gnu::always_inline]] inline Levels levelsOf(const ObjectPath& path) {
    Levels levels(path.depth(), boost::container::default_init);
    Level level{path.segment.get(), path.values.get()};
    for (auto position = levels.rbegin(); position != levels.rend(); ++position) {
        *position = level;
        level = outer(level);
    }
    return levels;
}

}  // namespace Tavik::Impl
