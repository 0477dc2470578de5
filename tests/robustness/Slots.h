/// @file
/// Operations on a few paths, each judged by the plain model. What fails ends the process: they run on any thread, and
/// in programs that know no test framework.

#pragma once

#include <algorithm>
#include <cstdio>

#include "Model.h"

namespace Robustness {

/// A path and what it should be.
struct Slot {
    Model::Path model;
    Tavik::ObjectPath path;
};

inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

inline void requireEmptyTables() {
    require(Tavik::Impl::inspectSegmentTable().empty(), "no segment is left");
    require(Tavik::Impl::inspectValueTable().empty(), "no value is left");
}

inline void check(const Slot& slot) {
    require(slot.path.toString() == Model::write(slot.model), "a path has the text of its model");
    require(Model::read(slot.path) == slot.model, "a path has the segments of its model");
}

/// Checks what two paths have to do with each other.
inline void check(const Slot& left, const Slot& right) {
    const bool isPrefix = left.model.size() >= right.model.size() &&
                          std::equal(right.model.begin(), right.model.end(), left.model.begin());
    require((left.path == right.path) == (left.model == right.model), "equal content is one path");
    require(left.path.startsWith(right.path) == isPrefix, "a path starts with its ancestors alone");
    require(left.path.matchesPattern(right.path) == Model::matches(left.model, right.model), "the model matches alike");
}

/// Checks that the library reads a text as the model does, and returns the path, or the root path when it is malformed.
inline Slot parse(std::string_view text) {
    const auto expected = Model::parse(text);
    auto parsed = Tavik::tryParseObjectPath(text);
    require(parsed.index() == expected.index(), "the model accepts the same texts");
    if (const auto* message = std::get_if<std::string>(&expected)) {
        require(std::get<Tavik::String>(parsed) == *message, "the model reports the same error");
        return {};
    }
    return {std::get<Model::Path>(expected), std::get<Tavik::ObjectPath>(std::move(parsed))};
}

/// One operation, chosen by `source`: by its numbers `below(bound)` and its texts `text()`.
template <typename Source>
Slot operate(Source& source, const Slot& left, const Slot& right) {
    constexpr std::size_t longest = 12;
    Slot result = left;
    switch (source.below(6)) {
        case 0: {
            Model::Segment segment{source.text(), {}};
            for (std::size_t count = source.below(4); count > 0; --count) {
                segment.attributes.emplace(source.text(), source.text());
            }
            result.model.push_back(segment);
            result.path = Model::append(left.path, segment);
            break;
        }
        case 1:
            result.model.insert(result.model.end(), right.model.begin(), right.model.end());
            result.path = left.path.append(right.path);
            break;
        case 2:
            result = parse(Model::write(left.model));
            break;
        case 3:
            result = parse(Model::write(left.model) + source.text());
            break;
        case 4:
            require(left.path.parent().has_value() == !left.model.empty(), "all but the root have a parent");
            result.path = left.path.parent().value_or(Tavik::ObjectPath());
            result.model.resize(std::max<std::size_t>(result.model.size(), 1) - 1);
            break;
        default:
            result = {};
    }
    check(result);
    return result.model.size() > longest ? Slot() : result;
}

}  // namespace Robustness
