/// @file
/// The peer "by hand": the value type that one writes without interning.

#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include <absl/hash/hash.h>
#include <boost/container/flat_map.hpp>

namespace Benchmarks {

/// A vector of segments, each a name and a sorted map.
template <typename AttributeMap>
class HandWrittenPath {
public:
    using Attributes = AttributeMap;

    struct Segment {
        std::string name;
        Attributes attributes;

        friend bool operator==(const Segment& left, const Segment& right) noexcept {
            return left.name == right.name && left.attributes == right.attributes;
        }
        friend bool operator<(const Segment& left, const Segment& right) noexcept {
            return std::tie(left.name, left.attributes) < std::tie(right.name, right.attributes);
        }
        template <typename H>
        friend H AbslHashValue(H state, const Segment& segment) {
            state = H::combine(std::move(state), segment.name, segment.attributes.size());
            for (const auto& [key, value] : segment.attributes) {
                state = H::combine(std::move(state), key, value);
            }
            return state;
        }
    };

    [[nodiscard]] static std::variant<HandWrittenPath, std::string> parse(std::string_view text);

    [[nodiscard]] HandWrittenPath append(std::string_view name, Attributes attributes = {}) const;
    /// The path without its leaf; there must be one.
    [[nodiscard]] HandWrittenPath parent() const;
    [[nodiscard]] bool startsWith(const HandWrittenPath& prefix) const noexcept;
    [[nodiscard]] bool matchesPattern(const HandWrittenPath& pattern) const noexcept;
    [[nodiscard]] std::string toString() const;
    [[nodiscard]] std::string_view leafName() const noexcept { return segments_.back().name; }

    template <typename Visit>
    void forEachName(Visit visit) const {
        for (const Segment& segment : segments_) {
            visit(segment.name);
        }
    }

    friend bool operator==(const HandWrittenPath& left, const HandWrittenPath& right) noexcept {
        return left.segments_ == right.segments_;
    }
    friend bool operator<(const HandWrittenPath& left, const HandWrittenPath& right) noexcept {
        return left.segments_ < right.segments_;
    }
    template <typename H>
    friend H AbslHashValue(H state, const HandWrittenPath& path) {
        return H::combine(std::move(state), path.segments_);
    }

private:
    std::vector<Segment> segments_;
};

using TreeMap = std::map<std::string, std::string>;
using FlatMap = boost::container::flat_map<std::string, std::string>;

extern template class HandWrittenPath<TreeMap>;
extern template class HandWrittenPath<FlatMap>;

}  // namespace Benchmarks
