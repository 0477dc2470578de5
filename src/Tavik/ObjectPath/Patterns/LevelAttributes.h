/// @file
/// Internal: the attributes of a level of a path, as a match in a set of patterns looks for them.

#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include <boost/container/small_vector.hpp>

#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Patterns/Edges.h>

namespace Tavik::Impl {

/// The attributes of a level of a path, to find them by key and by position. Allocates only for more than 16.
class LevelAttributes {
public:
    /// Throws `std::bad_alloc`.
    explicit LevelAttributes(const Level& level) : keys_(level.segment->attributeKeys) {
        values_.reserve(keys_.size());
        for (const auto& attribute : attributesOf(level)) {
            values_.push_back(&attribute.second);
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return keys_.size(); }
    [[nodiscard]] const String& value(std::size_t position) const noexcept { return *values_[position]; }

    /// The key and the value for look-ups where there are several edges. Each throws `std::bad_alloc`.
    /// @{
    [[nodiscard]] HashedText& hashedKey(std::size_t position) {
        if (hashedKeys_.empty()) {
            hashedKeys_.reserve(size());
            for (const String& key : keys_) {
                hashedKeys_.emplace_back(key);
            }
        }
        return hashedKeys_[position];
    }
    [[nodiscard]] HashedText& hashedValue(std::size_t position) {
        if (hashedValues_.empty()) {
            hashedValues_.reserve(size());
            for (const String* value : values_) {
                hashedValues_.emplace_back(*value);
            }
        }
        return hashedValues_[position];
    }
    /// @}

    /// The position of `key` if it is at `start` or later; `size()` if it is not. Doubles its steps from `start` on and
    /// then halves them, so searching for several keys in ascending order takes linear time for all of them.
    [[nodiscard]] std::size_t find(const String& key, std::size_t start) const noexcept {
        std::size_t end = start;
        for (std::size_t step = 1; end < size(); end += step, step *= 2) {
            if (keys_[end] == key) {
                return end;
            }
            if (keys_[end].compare(key) > 0) {
                break;
            }
            start = end + 1;
        }
        end = std::min(end, size());
        while (start < end) {
            const std::size_t middle = start + (end - start) / 2;
            const int order = keys_[middle].compare(key);
            if (order == 0) {
                return middle;
            }
            if (order < 0) {
                start = middle + 1;
            } else {
                end = middle;
            }
        }
        return size();
    }

private:
    using HashedTexts = boost::container::small_vector<HashedText, 16>;
    const std::vector<String>& keys_;
    boost::container::small_vector<const String*, 16> values_;
    HashedTexts hashedKeys_;    // empty until one is needed, because large blocks are expensive to allocate
    HashedTexts hashedValues_;  // likewise
};

}  // namespace Tavik::Impl
