/// @file
/// What the segments of a pattern matched.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>

#include <fmt/format.h>
#include <boost/container/small_vector.hpp>

#include <Tavik/Core/Lifetime.h>
#include <Tavik/ObjectPath/ObjectPathFwd.h>
#include <Tavik/ObjectPath/Require.h>

namespace Tavik {

/// The levels of a path that one segment of a pattern matched: `count` levels from `first` on, counted from 0 at the
/// root. For "...", `count` may be 0; `first` is then the level that follows. For every other segment, `count` is 1.
/// Since 1.4.
struct ObjectPathCapture {
    /// The first level.
    std::size_t first = 0;
    /// The number of levels.
    std::size_t count = 0;

    /// Whether both are the same levels.
    [[nodiscard]] friend bool operator==(const ObjectPathCapture& left, const ObjectPathCapture& right) noexcept {
        return left.first == right.first && left.count == right.count;
    }
    /// The opposite of `==`.
    [[nodiscard]] friend bool operator!=(const ObjectPathCapture& left, const ObjectPathCapture& right) noexcept {
        return !(left == right);
    }
};

/// What each segment of a pattern matched, from the first segment to the last: the result of `ObjectPath::capture`. It
/// owns its elements and refers to no path. References and iterators are valid until it is destroyed or assigned to.
/// Since 1.4.
class ObjectPathCaptures {
public:
    /// The types that a standard container names.
    /// @{
    using value_type = ObjectPathCapture;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using const_reference = const ObjectPathCapture&;
    using reference = const_reference;
    using const_iterator = const ObjectPathCapture*;
    using iterator = const_iterator;
    /// @}

    /// A pointer to what the first segment of the pattern matched.
    [[nodiscard]] const_iterator begin() const noexcept TAVIK_LIFETIMEBOUND { return elements_.data(); }
    /// A pointer past what the last segment matched.
    [[nodiscard]] const_iterator end() const noexcept TAVIK_LIFETIMEBOUND { return begin() + size(); }

    /// The number of segments of the pattern.
    [[nodiscard]] std::size_t size() const noexcept { return elements_.size(); }
    /// Whether there are none: the pattern is the root path.
    [[nodiscard]] bool empty() const noexcept { return elements_.empty(); }

    /// What a segment of the pattern matched: `[0]` belongs to the first one. An index at or beyond `size()` is a fatal
    /// assertion.
    [[nodiscard]] const ObjectPathCapture& operator[](std::size_t index) const noexcept TAVIK_LIFETIMEBOUND {
        const std::size_t count = size();
        TAVIK_OBJECT_PATH_REQUIRE(index < count, "capture index out of range: there are {} captures",
                                  fmt::make_format_args(count));
        return elements_[index];
    }

private:
    friend class ObjectPath;

    boost::container::small_vector<ObjectPathCapture, 10> elements_;
};

}  // namespace Tavik
