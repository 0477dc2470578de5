/// @file
/// A plain model of paths to judge the library by: the shortest code that is right, at any cost.

#pragma once

#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <span>
#include <string>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Model {

struct Segment {
    std::string name;
    std::map<std::string, std::string> attributes;

    bool operator==(const Segment&) const = default;
};

/// From the first segment to the leaf.
using Path = std::vector<Segment>;

inline Tavik::ObjectPath append(const Tavik::ObjectPath& path, const Segment& segment) {
    const auto& attributes = segment.attributes;
    return attributes.empty() ? path.append(segment.name)
                              : path.append(segment.name, {attributes.begin(), attributes.end()});
}

inline Tavik::ObjectPath build(const Path& model) {
    Tavik::ObjectPath path;
    for (const Segment& segment : model) {
        path = append(path, segment);
    }
    return path;
}

inline Path read(const Tavik::ObjectPath& path) {
    Path model;
    for (const Tavik::ObjectPathSegment& segment : path.explode()) {
        model.push_back({std::string(segment.segment->name.view()), {}});
        for (const auto& [key, value] : segment.attributes()) {
            model.back().attributes.emplace(key.view(), value.view());
        }
    }
    return model;
}

inline std::string escape(const std::string& field, std::string_view special) {
    std::string text;
    for (const char character : field) {
        text.append(special.find(character) < special.size() ? 1 : 0, '\\');
        text += character;
    }
    return text;
}

/// The text of a path, the canonical one by default.
inline std::string write(const Path& path, const Tavik::ObjectPathStringConfig& config = {}) {
    std::string text(config.leadingSeparator && path.empty() ? config.separator : "");
    for (std::size_t i = config.skipSegments; i < path.size(); ++i) {
        text += config.leadingSeparator || i > config.skipSegments ? config.separator : "";
        text += escape(path[i].name, config.escapeNames ? "/[\\" : "");
        for (const auto& [key, value] : path[i].attributes) {
            text += '[' + escape(key, config.escapeAttributeKeys ? "=\\" : "");
            text += '=' + escape(value, config.escapeAttributeValues ? "]\\" : "") + ']';
        }
    }
    return text;
}

/// The path that a text stands for, or why it stands for none.
inline std::variant<Path, std::string> parse(std::string_view text) {
    enum class State { name, key, value, closed } state = State::name;
    bool escaped = false;
    Path path(1);
    std::string key;
    std::string value;
    for (const char character : text.substr(text.substr(0, 1) == "/")) {
        std::string& field = state == State::name ? path.back().name : state == State::key ? key : value;
        if (escaped) {
            if (std::string_view("/[]=\\").find(character) == std::string_view::npos) {
                return std::string("\\") + character + " is not a valid escape sequence";
            }
            field += character;
            escaped = false;
        } else if (state != State::closed && character == '\\') {
            escaped = true;
        } else if ((state == State::name || state == State::closed) && (character == '/' || character == '[')) {
            if (path.back().name.empty()) {
                return "a segment name cannot be empty";
            }
            state = character == '/' ? State::name : State::key;
            path.resize(path.size() + (character == '/'));
        } else if (state == State::key && character == '=') {
            state = State::value;
        } else if (state == State::value && character == ']') {
            path.back().attributes.emplace(std::exchange(key, {}), std::exchange(value, {}));
            state = State::closed;
        } else if (state == State::closed) {
            return "an attribute or / was expected following ]";
        } else {
            field += character;
        }
    }
    if (escaped || state == State::key || state == State::value) {
        return escaped ? "an escape sequence is unfinished" : "an attribute is unfinished";
    }
    path.resize(path.size() - path.back().name.empty());
    return path;
}

inline bool matches(const Segment& segment, const Segment& pattern) {
    for (const auto& [key, value] : pattern.attributes) {
        if (!segment.attributes.contains(key) || (value != "*" && value != segment.attributes.at(key))) {
            return false;
        }
    }
    return segment.name == pattern.name || pattern == Segment{"*", {}};
}

/// Whether the pattern selects the path. Takes exponential time for patterns with many "...".
inline bool matches(std::span<const Segment> path, std::span<const Segment> pattern) {
    if (pattern.empty()) {
        return true;
    }
    if (pattern.front() == Segment{"...", {}}) {
        return matches(path, pattern.subspan(1)) || (!path.empty() && matches(path.subspan(1), pattern));
    }
    return !path.empty() && matches(path.front(), pattern.front()) && matches(path.subspan(1), pattern.subspan(1));
}

/// The seed of all random tests: the environment variable TAVIK_TEST_SEED, or else a fixed one.
inline std::uint64_t seed() {
    const char* const text = std::getenv("TAVIK_TEST_SEED");
    return text == nullptr ? 20'240'901 : std::strtoull(text, nullptr, 0);
}

/// Random paths of few different texts, so that they often have something in common.
class Generator {
public:
    explicit Generator(std::uint64_t seed) : random_(seed) {}

    /// A number from 0 to `bound` - 1.
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_() % bound); }

    /// A byte or one of a few words, sometimes two, rarely very many of these.
    std::string text() {
        static constexpr std::string_view bytes("ab/[]=\\*\0\x7f\x80\xff", 12);
        static constexpr const char* words[] = {
            "", "...", "fifteen letters", "sixteen letters.", "twenty-four letters here", "many \\[=]/ \\[=]/ escapes"};
        std::string text;
        for (std::size_t left = below(8) > 0 ? 1 : below(16) > 0 ? 2 : 90; left > 0; --left) {
            text += below(2) == 0 ? std::string(1, bytes[below(bytes.size())]) : words[below(std::size(words))];
        }
        return text;
    }

    /// A path of up to `longest` segments, none of them without a name.
    Path path(std::size_t longest) {
        Path path(below(longest + 1));
        for (Segment& segment : path) {
            while (segment.name.empty()) {
                segment.name = text();
            }
            for (std::size_t left = below(2) * below(4); left > 0; --left) {
                segment.attributes[text()] = text();
            }
        }
        return path;
    }

private:
    std::mt19937_64 random_;
};

}  // namespace Model
