/// @file
/// Paths beside their models, and everything that must hold between the two. A failed check aborts the process.

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

/// A value as a failed check prints it.
/// @{
inline std::string show(const auto& value) {
    return fmt::format("{}", value);
}
inline std::string show(const Model::Path& path) {
    return Model::write(path);
}
inline std::string show(const Model::Segment& segment) {
    return Model::write({segment}, {.leadingSeparator = false});
}
inline std::string show(std::strong_ordering order) {
    return order < 0 ? "less" : order > 0 ? "greater" : "equal";
}
template <typename Value>
std::string show(const std::optional<Value>& value) {
    return value ? show(*value) : "nothing";
}
/// @}

/// Aborts with a message that shows what is, what should be, and of what.
[[noreturn, gnu::noinline]] void fail(const auto& actual, const auto& expected, const char* what, const auto&... of) {
    fmt::print(stderr, "TAVIK_TEST_SEED={}\n{}\n", Model::seed(), what);
    fmt::print(stderr, "  is:        {}\n  should be: {}\n", show(actual), show(expected));
    (fmt::print(stderr, "  of:        {}\n", show(of)), ...);
    std::abort();
}

void requireEqual(const auto& actual, const auto& expected, const char* what, const auto&... of) {
    if (!(actual == expected)) {
        fail(actual, expected, what, of...);
    }
}

inline void requireEmptyTables() {
    requireEqual(Tavik::Impl::inspectSegmentTable().size(), 0U, "number of living segment nodes");
    requireEqual(Tavik::Impl::inspectValueTable().size(), 0U, "number of living value nodes");
}

/// Requires that sinks of Abseil, streams and formatters write `value` as `text`.
template <typename Value>
void requireWrittenAs(const Value& value, const std::string& text) {
    struct Sink {
        void Append(std::string_view more) { text += more; }
        std::string text;
    } sink;
    AbslStringify(sink, value);
    requireEqual(sink.text, text, "text in a sink");
    const std::string padding(40 - std::min<std::size_t>(text.size(), 40), '*');
    const std::string streamed = (std::ostringstream() << std::setfill('*') << std::setw(40) << value).str();
    requireEqual(streamed, padding + text, "text in a stream");
    requireEqual(fmt::format("{:*>40}", value), fmt::format("{:*>40}", text), "text in a format");
}

inline void check(const Tavik::ObjectPathSegment& segment, const Model::Segment& model) {
    requireWrittenAs(segment, show(model));
    requireEqual(Model::read(segment), model, "segment");
    const auto attributes = segment.attributes();
    requireEqual(std::map<std::string, std::string>(attributes.begin(), attributes.end()) == model.attributes, true,
                 "attributes", model);
    for (const auto& [key, value] : model.attributes) {
        requireEqual(segment.attribute(value) != nullptr, model.attributes.contains(value), "value taken for a key",
                     value, model);
        requireEqual(segment.attribute(key + '.') != nullptr, model.attributes.contains(key + '.'), "longer key", key,
                     model);
    }
}

inline void check(const Sample& sample) {
    const auto& [model, path] = sample;
    requireWrittenAs(path, Model::write(model));
    requireEqual(Model::read(path), model, "path");
    std::vector<ObjectPath> prefixes(1);
    for (const Model::Segment& segment : model) {
        prefixes.push_back(Model::append(prefixes.back(), segment));
    }
    requireEqual(path, prefixes.back(), "path that is built again");
    requireEqual(prefixes.front().parent().has_value(), false, "whether the root path has a parent");
    requireEqual(prefixes.front().leaf().has_value(), false, "whether the root path has a leaf");
    const ObjectPath::Segments segments = path.explode();
    requireEqual(segments.size(), model.size(), "number of segments", model);
    ObjectPath::View view = path.toView();
    for (std::size_t depth = model.size(); depth > 0; --depth) {
        const ObjectPath& expected = prefixes[depth];
        const auto leaf = expected.leaf();
        check(*leaf, model[depth - 1]);
        const auto& listed = segments[model.size() - depth];
        requireEqual(ObjectPath{leaf->segment, leaf->values}, expected, "path that ends at the leaf");
        requireEqual(ObjectPath{listed.segment, listed.values}, expected, "path that ends at a listed segment");
        requireEqual(ObjectPath{*view.segment, *view.values}, expected, "path that ends at a cursor");
        requireEqual(expected.parent(), prefixes[depth - 1], "parent", expected);
        view = view.parent();
    }
    requireEqual(ObjectPath{*view.segment, *view.values}, ObjectPath(), "end of a cursor");
}

/// Checks the relations between two paths.
inline void check(const Sample& left, const Sample& right) {
    const auto requireThat = [&](const auto& actual, const auto& expected, const char* relation) {
        requireEqual(actual, expected, relation, left.model, right.model);
    };
    const std::strong_ordering order = left.model <=> right.model;
    requireThat(left.path == right.path, order == 0, "==");
    requireThat(left.path != right.path, order != 0, "!=");
    requireThat(left.path < right.path, order < 0, "<");
    requireThat(left.path <= right.path, order <= 0, "<=");
    requireThat(left.path > right.path, order > 0, ">");
    requireThat(left.path >= right.path, order >= 0, ">=");
    requireThat(left.path.compare(right.path) <=> 0, order, "compare");
    const auto [end, common] = std::ranges::mismatch(left.model, right.model);
    requireThat(left.path.startsWith(right.path), common == right.model.end(), "startsWith");
    requireThat(left.path.matchesPattern(right.path), Model::matches(left.model, right.model), "matchesPattern");
    if (!left.model.empty() && !right.model.empty()) {
        const bool haveSameLeaf = left.model.back() == right.model.back();
        requireThat(*left.path.leaf() == *right.path.leaf(), haveSameLeaf, "== of segments");
        requireThat(*left.path.leaf() != *right.path.leaf(), !haveSameLeaf, "!= of segments");
    }
}

inline Sample join(const Sample& left, const Sample& right) {
    Sample joined{left.model, left.path.append(right.path)};
    joined.model.insert(joined.model.end(), right.model.begin(), right.model.end());
    return joined;
}

/// Parses a string, with the same result as the model; the root path when it is malformed.
inline Sample parse(std::string_view text) {
    const auto expected = Model::parse(text);
    std::size_t offset = SIZE_MAX;
    auto parsed = Tavik::tryParseObjectPath(text, offset);
    if (const auto* const error = std::get_if<Model::Error>(&expected)) {
        const auto* const message = std::get_if<Tavik::String>(&parsed);
        requireEqual(message != nullptr ? message->view() : "no error", error->message, "error", text);
        requireEqual(offset, error->offset, "offset of the error", text);
        return {};
    }
    requireEqual(parsed.index(), 0U, "kind of result", text);
    requireEqual(offset, SIZE_MAX, "offset without an error", text);
    Sample sample{std::get<Model::Path>(expected), std::get<ObjectPath>(std::move(parsed))};
    requireEqual(Model::read(sample.path), sample.model, "parsed path", text);
    return sample;
}

/// Parses the lines of a text one after the other. The byte that ends a line decides which paths live from then on:
/// '\n' keeps the path of the line, '\r' drops it, and '\f' keeps it and drops all others.
inline void parseLines(std::string_view text) {
    std::vector<Sample> kept;
    for (std::size_t begin = 0, end = 0; begin <= text.size(); begin = end + 1) {
        end = std::min(text.find_first_of("\n\r\f", begin), text.size());
        Sample sample = parse(text.substr(begin, end - begin));
        const char ending = end < text.size() ? text[end] : '\n';
        if (ending == '\f') {
            kept.clear();
        }
        if (ending != '\r') {
            kept.push_back(std::move(sample));
        }
    }
    for (const Sample& sample : kept) {
        requireEqual(Tavik::parseObjectPath(sample.path.toString()), sample.path, "path read back", text);
    }
    kept.clear();
    requireEmptyTables();
}

/// Does an operation that `source` chooses, by its numbers `below(bound)` and its strings `text()`. Paths stay short,
/// because the model takes exponential time to match.
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
    constexpr std::size_t longest = 12;
    return result.model.size() > longest ? Sample() : result;
}

}  // namespace Checks
