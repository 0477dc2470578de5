/// @file
/// Operations on a few paths, each judged by the plain model, on any thread. A failed check aborts the process.

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
    require(Tavik::Impl::inspectSegmentTable().empty() && Tavik::Impl::inspectValueTable().empty(), "no node is left");
}

inline void check(const Slot& slot) {
    require(slot.path.toString() == Model::write(slot.model), "a path has the text of its model");
    require(Model::read(slot.path) == slot.model, "a path has the segments of its model");
}

/// Checks the relations between two paths.
inline void check(const Slot& left, const Slot& right) {
    const auto differing = std::ranges::mismatch(left.model, right.model);
    require((left.path == right.path) == (left.model == right.model), "equal content is one path");
    require(left.path.startsWith(right.path) == (differing.in2 == right.model.end()), "only ancestors are prefixes");
    require(left.path.matchesPattern(right.path) == Model::matches(left.model, right.model), "the model matches alike");
}

/// Reads a text with the same result as the model; the root path when it is malformed.
inline Slot parse(std::string_view text) {
    const auto expected = Model::parse(text);
    const auto parsed = Tavik::tryParseObjectPath(text);
    if (const auto* path = std::get_if<Tavik::ObjectPath>(&parsed)) {
        return {std::get<Model::Path>(expected), *path};
    }
    require(std::get<Tavik::String>(parsed) == std::get<std::string>(expected), "the model reports the same error");
    return {};
}

/// Does an operation that `source` chooses, by its numbers `below(bound)` and its texts `text()`.
Slot operate(auto& source, const Slot& left, const Slot& right) {
    enum Choice { appending, joining, parsing, ascending, choices = 5 };
    Slot result = left;
    const std::size_t choice = source.below(choices);
    if (choice == appending) {
        Model::Segment segment{source.text(), {}};
        for (std::size_t count = source.below(4); count > 0; --count) {
            segment.attributes[source.text()] = source.text();
        }
        result.model.push_back(segment);
        result.path = Model::append(left.path, segment);
    } else if (choice == joining) {
        result.model.insert(result.model.end(), right.model.begin(), right.model.end());
        result.path = left.path.append(right.path);
    } else if (choice == parsing) {
        result = parse(Model::write(left.model) + source.text());
    } else if (choice == ascending && !left.model.empty()) {
        result.model.pop_back();
        result.path = *left.path.parent();
    } else {
        result = {};  // the root path
    }
    check(result);
    return result.model.size() > 12 ? Slot() : result;
}

}  // namespace Robustness
