/// @file
/// Paths beside their models, and all that must hold between the two. A failed check aborts the process.

#pragma once

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <sstream>

#include "Model.h"

namespace Checks {

using Tavik::ObjectPath;

/// A path and what it should be.
struct Sample {
    Model::Path model;
    ObjectPath path;
};

inline void require(bool holds, const char* what, const std::string& text = "") {
    if (!holds) {
        std::fprintf(stderr, "%s (TAVIK_TEST_SEED=%zu): %s\n", text.c_str(), std::size_t{Model::seed()}, what);
        std::abort();
    }
}

inline void requireEmptyTables() {
    require(Tavik::Impl::inspectSegmentTable().empty() && Tavik::Impl::inspectValueTable().empty(), "no node is left");
}

/// Whether streams, formatters and sinks of Abseil write `value` as `text`.
template <typename Value>
bool isWrittenAs(const Value& value, const std::string& text) {
    struct Sink {
        void Append(std::string_view more) { text += more; }
        std::string text;
    } sink;
    AbslStringify(sink, value);
    const std::string padding(40 - std::min<std::size_t>(text.size(), 40), '*');
    return sink.text == text &&
           (std::ostringstream() << std::setfill('*') << std::setw(40) << value).str() == padding + text &&
           fmt::format("{:*>40}", value) == fmt::format("{:*>40}", text);
}

inline void check(const Tavik::ObjectPathSegment& segment, const Model::Segment& model) {
    const std::string text = Model::write({model}, {.leadingSeparator = false});
    require(isWrittenAs(segment, text), "a segment has the text of its model", text);
    for (const auto& [key, value] : model.attributes) {
        require(segment.attribute(key) != nullptr && *segment.attribute(key) == value, "an attribute is found", text);
        require((segment.attribute(value) != nullptr) == model.attributes.contains(value), "only keys are found", text);
    }
    require(segment.attribute(text + '.') == nullptr, "a longer text is no key", text);
}

inline void check(const Sample& sample) {
    const std::string text = Model::write(sample.model);
    require(isWrittenAs(sample.path, text), "a path has the text of its model", text);
    require(Model::read(sample.path) == sample.model, "a path has the segments of its model", text);
    const ObjectPath::Segments segments = sample.path.explode();
    ObjectPath::View view = sample.path.toView();
    std::optional<ObjectPath> ancestor = sample.path;
    Model::Path model = sample.model;
    for (std::size_t index = 0; index < segments.size(); ++index) {
        const auto leaf = ancestor->leaf();
        check(*leaf, model.back());
        const ObjectPath expected = Model::build(model);
        require(ancestor == expected, "the parent is the path without its leaf", text);
        require(ObjectPath{leaf->segment, leaf->values} == expected, "the leaf is the last segment", text);
        require(ObjectPath{*view.segment, *view.values} == expected, "a cursor walks to the root", text);
        require(ObjectPath{segments[index].segment, segments[index].values} == expected, "segments are listed", text);
        ancestor = ancestor->parent();
        view = view.parent();
        model.pop_back();
    }
    require(ancestor == ObjectPath() && !ancestor->parent() && !ancestor->leaf(), "the root path is above all", text);
    require(*view.segment == nullptr && *view.values == nullptr, "a cursor ends at the root", text);
}

/// Checks the relations between two paths.
inline void check(const Sample& left, const Sample& right) {
    const std::string texts = Model::write(left.model) + " and " + Model::write(right.model);
    const auto order = left.model <=> right.model;
    require((left.path == right.path) == (order == 0) && (left.path != right.path) == (order != 0) &&
                (left.path < right.path) == (order < 0) && (left.path <= right.path) == (order <= 0) &&
                (left.path > right.path) == (order > 0) && (left.path >= right.path) == (order >= 0) &&
                (left.path.compare(right.path) <=> 0) == order,
            "paths compare like their models", texts);
    const bool isPrefix = std::ranges::mismatch(left.model, right.model).in2 == right.model.end();
    require(left.path.startsWith(right.path) == isPrefix, "only ancestors are prefixes", texts);
    require(left.path.matchesPattern(right.path) == Model::matches(left.model, right.model), "the model matches alike",
            texts);
    if (!left.model.empty() && !right.model.empty()) {
        const bool sameLeaf = left.model.back() == right.model.back();
        require((*left.path.leaf() == *right.path.leaf()) == sameLeaf &&
                    (*left.path.leaf() != *right.path.leaf()) != sameLeaf,
                "segments compare like their models", texts);
    }
}

inline Sample join(const Sample& left, const Sample& right) {
    Sample joined{left.model, left.path.append(right.path)};
    joined.model.insert(joined.model.end(), right.model.begin(), right.model.end());
    return joined;
}

/// Reads a text with the same result as the model; the root path when it is malformed.
inline Sample parse(std::string_view text) {
    const auto expected = Model::parse(text);
    const auto parsed = Tavik::tryParseObjectPath(text);
    if (const auto* path = std::get_if<ObjectPath>(&parsed)) {
        const auto& model = std::get<Model::Path>(expected);
        require(*path == Model::build(model), "the model reads the same path", std::string(text));
        return {model, *path};
    }
    require(std::get<Tavik::String>(parsed) == std::get<std::string>(expected), "the model reports the same error",
            std::string(text));
    return {};
}

/// Does an operation that `source` chooses, by its numbers `below(bound)` and its texts `text()`.
Sample operate(auto& source, const Sample& left, const Sample& right) {
    enum Choice { appending, joining, parsing, ascending, choices = 5 };
    Sample result = left;
    const std::size_t choice = source.below(choices);
    if (choice == appending) {
        Model::Segment segment{source.text(), {}};
        for (std::size_t count = source.below(4); count > 0; --count) {
            segment.attributes[source.text()] = source.text();
        }
        result.model.push_back(segment);
        result.path = Model::append(left.path, segment);
    } else if (choice == joining) {
        result = join(left, right);
    } else if (choice == parsing) {
        result = parse(Model::write(left.model) + source.text());
    } else if (choice == ascending && !left.model.empty()) {
        result.model.pop_back();
        result.path = *left.path.parent();
    } else {
        result = {};  // the root path
    }
    check(result);
    return result.model.size() > 12 ? Sample() : result;
}

}  // namespace Checks
