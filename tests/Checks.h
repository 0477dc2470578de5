/// @file
/// Paths beside their models, and everything that must hold between the two. A failed check aborts the process.

#pragma once

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <span>
#include <sstream>

#include <Tavik/ObjectPath/PatternSet.h>

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
#ifdef __cpp_lib_format
    requireEqual(std::format("{:*>40}", value), fmt::format("{:*>40}", text), "text in a standard format");
#endif
}

/// Checks a segment, or that of a cursor.
void checkSegment(const auto& segment, const Model::Segment& model) {
    requireEqual(Model::read(segment), model, "name and attributeRange");
    const Tavik::ObjectPathAttributeRange range = segment.attributeRange();
    auto last = range.begin();
    for (const auto& attribute : model.attributes) {
        const auto before = last++;
        requireEqual(before != last && (*before).first == attribute.first, true,
                     "whether a step returns the iterator before it", model);
    }
    requireEqual(last == range.end(), true, "whether as many steps lead to the end", model);
    requireEqual(range.size(), model.attributes.size(), "number of attributes", model);
    requireEqual(range.empty(), model.attributes.empty(), "whether there are no attributes", model);
    for (const auto& [key, value] : model.attributes) {
        for (const std::string& other : {key, value, key + '.'}) {
            const Tavik::String* const found = segment.attribute(other);
            const auto expected = model.attributes.find(other);
            requireEqual(found != nullptr, expected != model.attributes.end(), "found attribute", other, model);
            requireEqual(found != nullptr ? found->view() : "", found != nullptr ? expected->second : "", "attribute",
                         other, model);
        }
    }
}

inline std::vector<ObjectPath> buildPrefixes(const Model::Path& model) {
    std::vector<ObjectPath> prefixes(1);
    for (const Model::Segment& segment : model) {
        prefixes.push_back(Model::append(prefixes.back(), segment));
    }
    return prefixes;
}

/// Checks what takes no lock. `prefixes` are those of the model, the root path first.
inline void checkReading(const Sample& sample, const std::vector<ObjectPath>& prefixes) {
    const auto& [model, path] = sample;
    requireWrittenAs(path, Model::write(model));
    requireEqual(path, prefixes.back(), "path that is built again");
    requireEqual(path.depth(), model.size(), "depth", model);
    requireEqual(path.isRoot(), model.empty(), "isRoot", model);
    const ObjectPath::Views views = path.views();
    requireEqual(views.size(), model.size(), "number of views", model);
    requireEqual(views.empty(), model.empty(), "whether there are no views", model);
    requireEqual(std::ranges::equal(views, std::span(prefixes).subspan(1), {}, &ObjectPath::View::path), true, "views",
                 model);
    requireEqual(std::equal(views.rbegin(), views.rend(), prefixes.rbegin(), prefixes.rend() - 1,
                            [](const auto& view, const ObjectPath& prefix) { return view == prefix.toView(); }),
                 true, "views in reverse", model);
    requireEqual(path.hasWildcards(), Model::hasWildcards(model), "hasWildcards", model);
    requireEqual(prefixes.front().parent().has_value(), false, "whether the root path has a parent");
    requireEqual(prefixes.front().leaf().has_value(), false, "whether the root path has a leaf");
    const ObjectPath::Segments segments = path.explode();
    requireEqual(segments.size(), model.size(), "number of segments", model);
    ObjectPath::View view = path.toView();
    for (std::size_t depth = model.size(); depth > 0; --depth) {
        const Model::Segment& segment = model[depth - 1];
        const auto leaf = prefixes[depth].leaf();
        const auto& listed = segments[model.size() - depth];
        const auto attributes = leaf->attributes();
        checkSegment(*leaf, segment);
        checkSegment(view, segment);
        requireWrittenAs(*leaf, show(segment));
        requireWrittenAs(view, show(segment));
        requireEqual(&views.back() == &views[model.size() - 1] && view == views[depth - 1], true, "view", model, depth);
        requireEqual(view != views.front(), depth > 1, "!= of cursors", model, depth);
        for (const auto& attribute : segment.attributes) {
            const std::string& key = attribute.first;
            const auto hasKey = [&](const Model::Segment& level) { return level.attributes.contains(key); };
            const auto nearest = std::ranges::find_if(model.rbegin(), model.rend(), hasKey);
            requireEqual(*path.attribute(key), nearest->attributes.at(key), "attribute of the path", model, key);
        }
        requireEqual(Model::Segment{segment.name, {attributes.begin(), attributes.end()}}, segment, "attributes");
        requireEqual(ObjectPath{leaf->segment, leaf->values}, prefixes[depth], "path that ends at the leaf");
        requireEqual(ObjectPath{listed.segment, listed.values}, prefixes[depth], "path that ends at a segment");
        requireEqual(view.path(), prefixes[depth], "path that ends at a cursor");
        requireEqual(view.isRoot(), false, "whether a cursor is at the root", model);
        requireEqual(prefixes[depth].parent(), prefixes[depth - 1], "parent", prefixes[depth]);
        view = view.parent();
    }
    requireEqual(view.isRoot(), true, "whether a cursor is at the root", model);
    requireEqual(view.path(), ObjectPath(), "path that ends at a cursor");
    requireEqual(view.toString(), "/", "text of a cursor at the root");
    requireEqual(path.attribute("no such key") == nullptr, true, "whether a path lacks an attribute", model);
}

/// Checks the paths whose leaf has one attribute more, less or of another value.
inline void checkAttributes(const Sample& sample) {
    const std::size_t count = sample.model.empty() ? 0 : sample.model.back().attributes.size();
    for (std::size_t i = 0; !sample.model.empty() && i <= count; ++i) {
        Model::Path model = sample.model;
        auto& attributes = model.back().attributes;
        const std::string key = i < count ? std::next(attributes.begin(), std::ptrdiff_t(i))->first : "key";
        attributes[key] = "another value";
        const ObjectPath changed = sample.path.withAttribute(key, "another value");
        requireEqual(changed, Model::build(model), "withAttribute", sample.model, key);
        attributes.erase(key);
        requireEqual(sample.path.withoutAttribute(key), Model::build(model), "withoutAttribute", sample.model, key);
        requireEqual(changed.withoutAttribute(key), sample.path.withoutAttribute(key), "withoutAttribute", model, key);
    }
}

/// Checks what appends the leaf with attributes from other sources than a map of the library's strings.
inline void checkAppending(const Sample& sample) {
    if (sample.model.empty()) {
        return;
    }
    const auto& [name, attributes] = sample.model.back();
    const ObjectPath parent = *sample.path.parent();
    const auto requireLeaf = [&](const ObjectPath& path, const char* what) {
        requireEqual(path, sample.path, what, sample.model);
    };
    requireLeaf(parent.append(name, attributes), "append of a map");
    requireLeaf(parent.append(name, sample.path.leaf()->attributeRange()), "append of a range of attributes");
    // Descending, and each key a second time with another value.
    std::vector<std::pair<std::string_view, std::string>> pairs(attributes.rbegin(), attributes.rend());
    for (const auto& [key, value] : attributes) {
        pairs.emplace_back(key, value + '.');
    }
    requireLeaf(parent.append(name, std::as_const(pairs)), "append of a list");
    if (pairs.size() == 4) {
        requireLeaf(parent.append(name, {pairs[0], {pairs[1].first, pairs[1].second}, pairs[2], pairs[3]}), "append");
    }
}

/// Checks `appendNames` with a text of many characters, of which each in turn separates names.
inline void checkNames(const Sample& sample) {
    const std::string text = Model::write(sample.model, {.separator = "//"});
    for (const char separator : std::string_view("/[=]")) {
        Model::Path model = sample.model;
        ObjectPath path = sample.path;
        std::istringstream names(text);
        for (std::string name; std::getline(names, name, separator);) {
            if (!name.empty()) {
                model.push_back({name, {}});
                path /= name;
            }
        }
        requireEqual(Model::read(path), model, "path of the same names", text, separator);
        requireEqual(sample.path.appendNames(text, separator), path, "appendNames", text, separator);
    }
}

inline void check(const Sample& sample) {
    const std::vector<ObjectPath> prefixes = buildPrefixes(sample.model);
    checkReading(sample, prefixes);
    ObjectPath copy;
    for (const Tavik::ObjectPathSegment& segment : sample.path.explode()) {
        copy /= segment;
    }
    requireEqual(copy, sample.path, "path of the same segments");
    checkAttributes(sample);
    checkAppending(sample);
    checkNames(sample);
}

/// Checks the relations between two paths, which take no lock.
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
    requireThat(left.path <=> right.path, order, "<=>");
    const auto [end, endOfRight] = std::ranges::mismatch(left.model, right.model);
    requireThat(left.path.startsWith(right.path), endOfRight == right.model.end(), "startsWith");
    requireThat(Tavik::ObjectPathSubtree{left.path} < Tavik::ObjectPathSubtree{right.path},
                order < 0 && end != left.model.end(), "< of subtrees");
    const auto shared = static_cast<std::size_t>(end - left.model.begin());
    requireThat(left.path.commonPrefix(right.path), left.path.prefix(shared), "commonPrefix");
    const std::size_t depth = std::min(left.model.size(), right.model.size());
    const auto first = std::span(left.model).first(depth);
    requireThat(Model::read(left.path.prefix(right.model.size())), Model::Path(first.begin(), first.end()), "prefix");
    requireThat(left.path.matchesPattern(right.path), Model::matches(left.model, right.model), "matchesPattern");
    requireThat(isMoreSpecific(left.path, right.path), Model::isMoreSpecific(left.model, right.model),
                "isMoreSpecific");
    if (!left.model.empty() && !right.model.empty()) {
        const bool haveSameLeaf = left.model.back() == right.model.back();
        requireThat(*left.path.leaf() == *right.path.leaf(), haveSameLeaf, "== of segments");
        requireThat(*left.path.leaf() != *right.path.leaf(), !haveSameLeaf, "!= of segments");
    }
}

inline Sample sampleOf(const Model::Path& model) {
    return {model, Model::build(model)};
}

inline Sample join(const Sample& left, const Sample& right) {
    Sample joined = left;
    joined.path /= right.path;
    joined.model.insert(joined.model.end(), right.model.begin(), right.model.end());
    requireEqual(joined.path, left.path / right.path, "path that was appended to", left.model, right.model);
    return joined;
}

/// Paths that often share prefixes, shapes and values, and sometimes are equal.
inline std::vector<Sample> related(Model::Generator& random) {
    std::vector<Sample> samples(1);
    while (samples.size() < 60) {
        // Often the same name, with one of two values and perhaps a second attribute of one of two keys.
        Model::Path tail = {
            {"a", {{"k", std::to_string(random.below(2))}, {std::string(1, "klm"[random.below(3)]), ""}}}};
        if (random.oneIn(2)) {
            tail = random.path(3);
        }
        samples.push_back(join(samples[random.below(samples.size())], sampleOf(tail)));
    }
    return samples;
}

/// Checks what puts `replacement` or nothing in place of `prefix`, which the path need not start with.
inline void checkReplacing(const Sample& sample, const Sample& prefix, const Sample& replacement) {
    const auto [end, endOfPrefix] = std::ranges::mismatch(sample.model, prefix.model);
    std::optional<ObjectPath> below;
    std::optional<ObjectPath> replaced;
    if (endOfPrefix == prefix.model.end()) {
        below = Model::build({end, sample.model.end()});
        replaced = replacement.path.append(*below);
    }
    const auto requireThat = [&](const auto& actual, const auto& expected, const char* what) {
        requireEqual(actual, expected, what, sample.model, prefix.model, replacement.model);
    };
    requireThat(sample.path.relativeTo(prefix.path), below, "relativeTo");
    requireThat(sample.path.replacePrefix(prefix.path, replacement.path), replaced, "replacePrefix");
}

/// Parses a string, with the same result as the model; the root path when it is malformed.
inline Sample parse(std::string_view text) {
    const auto expected = Model::parse(text);
    std::size_t offset = SIZE_MAX;
    auto parsed = Tavik::tryParseObjectPath(text, offset);
    const auto [errorOfLiteral, offsetInLiteral] = Tavik::Impl::checkText(text);
    if (const auto* const error = std::get_if<Model::Error>(&expected)) {
        const auto* const message = std::get_if<Tavik::String>(&parsed);
        requireEqual(message != nullptr ? message->view() : "no error", error->message, "error", text);
        requireEqual(offset, error->offset, "offset of the error", text);
        requireEqual(offsetInLiteral, offset, "offset of the error in a literal", text);
        static constexpr std::string_view messages[] = {
            "",      "name cannot be empty", "or / was expected", "attribute is unfinished", "sequence is unfinished",
            "is not"};
        requireEqual(error->message.find(messages[int(errorOfLiteral)]) != std::string::npos &&
                         errorOfLiteral != Tavik::Impl::TextError::none,
                     true, "error of a literal", text);
        try {
            fail(Tavik::parseObjectPathOrThrow(text), *message, "no exception", text);
        } catch (const Tavik::ObjectPathError& thrown) {
            requireEqual(std::string_view(thrown.what()), error->message.c_str(), "message of an exception", text);
            requireEqual(thrown.offset(), offset, "offset of an exception", text);
        }
        return {};
    }
    requireEqual(parsed.index(), 0U, "kind of result", text);
    requireEqual(errorOfLiteral == Tavik::Impl::TextError::none, true, "whether a literal compiles", text);
    requireEqual(offset, SIZE_MAX, "offset without an error", text);
    Sample sample{std::get<Model::Path>(expected), std::get<ObjectPath>(std::move(parsed))};
    requireEqual(Model::read(sample.path), sample.model, "parsed path", text);
    requireEqual(Tavik::parseObjectPathOrThrow(text), sample.path, "path of the parser that throws", text);
    return sample;
}

/// Parses the lines of a string one after the other. The byte that ends a line decides which paths live from then on:
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
    checkReplacing(result, left, right);
    constexpr std::size_t longest = 12;
    return result.model.size() > longest ? Sample() : result;
}

}  // namespace Checks
