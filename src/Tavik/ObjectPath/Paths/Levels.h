/// @file
/// Internal: the levels of a path, for walking it without changing reference counts.

#pragma once

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// What a cursor refers to: a segment, and the value chain that begins with its values. Without the pointers to both
/// pointers, for what looks at levels many times.
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

/// The cursor `count` levels closer to the root.
[[nodiscard]] inline ObjectPath::View ancestor(ObjectPath::View view, std::size_t count) noexcept {
    for (; count > 0; --count) {
        view = view.parent();
    }
    return view;
}

/// Throws `std::bad_alloc`. Always inline: a call costs a match in a set of patterns 2 % more. Steps by nodes instead
/// of a cursor, whose pointers to pointers cost more, too.
[[nodiscard, gnu::always_inline]] inline Levels levelsOf(const ObjectPath& path) {
    Levels levels(path.depth(), boost::container::default_init);
    Level level{path.segment.get(), path.values.get()};
    for (auto position = levels.rbegin(); position != levels.rend(); ++position) {
        *position = level;
        for (std::size_t count = level.segment->attributeKeys.size(); count > 0; --count) {
            level.values = level.values->previous.get();
        }
        level.segment = level.segment->parent.get();
    }
    return levels;
}

}  // namespace Tavik::Impl
