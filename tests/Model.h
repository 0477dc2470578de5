/// @file
/// A plain model of paths to judge the library by: the simplest program that is right, at any cost.

#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <numeric>
#include <random>
#include <span>
#include <string>
#include <tuple>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Model {

struct Segment {
    std::string name;
    std::map<std::string, std::string> attributes;

    auto operator<=>(const Segment&) const = default;
};

/// From the first segment to the leaf.
using Path = std::vector<Segment>;

inline Tavik::ObjectPath append(const Tavik::ObjectPath& path, const Segment& segment) {
    const auto& attributes = segment.attributes;
    return attributes.empty() ? path.append(segment.name)
                              : path.append(segment.name, {attributes.begin(), attributes.end()});
}

inline Tavik::ObjectPath build(const Path& model) {
    return std::accumulate(model.begin(), model.end(), Tavik::ObjectPath(), append);
}

/// Reads a segment, or that of a cursor.
Segment read(const auto& segment) {
    Segment model{segment.name().str(), {}};
    const auto attributes = segment.attributeRange();
    for (auto attribute = attributes.begin(); attribute != attributes.end(); ++attribute) {
        model.attributes.emplace(attribute->first, (*attribute).second);
    }
    return model;
}

inline Path read(const Tavik::ObjectPath& path) {
    Path model;
    for (const Tavik::ObjectPathSegment& segment : path.explode()) {
        model.push_back(read(segment));
    }
    return model;
}

/// `field` with a backslash before each of the `special` characters.
inline std::string escape(const std::string& field, std::string_view special) {
    std::string text;
    for (const char character : field) {
        if (special.find(character) != std::string_view::npos) {
            text += '\\';
        }
        text += character;
    }
    return text;
}

/// The text of a path, canonical by default.
inline std::string write(const Path& path, const Tavik::ObjectPathStringConfig& config = {}) {
    if (path.empty()) {
        return std::string(config.leadingSeparator ? config.separator : "");
    }
    std::string text;
    for (std::size_t i = config.skipSegments; i < path.size(); ++i) {
        if (config.leadingSeparator || i > config.skipSegments) {
            text += config.separator;
        }
        text += escape(path[i].name, config.escapeNames ? "/[\\" : "");
        for (const auto& [key, value] : path[i].attributes) {
            text += '[' + escape(key, config.escapeAttributeKeys ? "=\\" : "");
            text += '=' + escape(value, config.escapeAttributeValues ? "]\\" : "") + ']';
        }
    }
    return text;
}

/// Why a string is no path. The offset is the length of its longest prefix that some valid string begins with.
struct Error {
    std::string message;
    std::size_t offset;
};

/// Reads a path from left to right. Throws the leftmost error.
class Reader {
public:
    explicit Reader(std::string_view text) : size_(text.size()), rest_(text) {}

    Path path() {
        Path path;
        accept('/');
        while (!rest_.empty()) {
            path.push_back(segment());
            if (!rest_.empty() && !accept('/')) {
                fail("an attribute or / was expected following ]");
            }
        }
        return path;
    }

private:
    Segment segment() {
        Segment segment{field("/["), {}};
        if (segment.name.empty()) {
            fail("a segment name cannot be empty");
        }
        while (accept('[')) {
            const std::string key = field("=");
            accept('=');
            const std::string value = field("]");
            if (!accept(']')) {
                fail("an attribute is unfinished");
            }
            segment.attributes.emplace(key, value);
        }
        return segment;
    }

    /// Reads up to one of `terminators` or the end.
    std::string field(std::string_view terminators) {
        std::string field;
        while (!rest_.empty() && terminators.find(rest_.front()) == std::string_view::npos) {
            const bool escaped = accept('\\');
            if (escaped && rest_.empty()) {
                fail("an escape sequence is unfinished");
            }
            if (escaped && std::string_view("/[]=\\").find(rest_.front()) == std::string_view::npos) {
                fail(std::string("\\? is not a valid escape sequence").replace(1, 1, 1, rest_.front()));
            }
            field += rest_.front();
            rest_.remove_prefix(1);
        }
        return field;
    }

    /// Whether the next character is `character`, which is then read.
    bool accept(char character) {
        if (!rest_.starts_with(character)) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    /// Everything before the rest begins some valid string.
    [[noreturn]] void fail(std::string message) const { throw Error{std::move(message), size_ - rest_.size()}; }

    std::size_t size_;
    std::string_view rest_;
};

/// The path that a string represents, or why it is malformed.
inline std::variant<Path, Error> parse(std::string_view text) {
    try {
        return Reader(text).path();
    } catch (const Error& error) {
        return error;
    }
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

inline bool hasWildcards(const Path& pattern) {
    return std::ranges::any_of(pattern, [](const Segment& segment) {
        return (segment.attributes.empty() && (segment.name == "*" || segment.name == "...")) ||
               std::ranges::count(segment.attributes, "*", [](const auto& attribute) { return attribute.second; }) > 0;
    });
}

/// What patterns are ordered by, the more specific one first: kinds of segments up to `depth`, then three numbers.
inline auto specificity(const Path& pattern, std::size_t depth) {
    std::vector<int> kinds(depth, 2);
    std::ptrdiff_t fixed = 0;
    std::ptrdiff_t any = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        kinds[i] = pattern[i] == Segment{"...", {}} ? 2 : pattern[i] == Segment{"*", {}} ? 1 : 0;
        for (const auto& attribute : pattern[i].attributes) {
            --(attribute.second == "*" ? any : fixed);
        }
    }
    return std::tuple(kinds, fixed, any, -std::ssize(pattern));
}

inline bool isMoreSpecific(const Path& left, const Path& right) {
    const std::size_t depth = std::max(left.size(), right.size());
    return specificity(left, depth) < specificity(right, depth);
}

/// The seed of all random tests: the environment variable TAVIK_TEST_SEED, or else a fixed one.
inline std::uint64_t seed() {
    const char* const text = std::getenv("TAVIK_TEST_SEED");
    return text == nullptr ? 20'240'901 : std::strtoull(text, nullptr, 0);
}

/// Random paths of few different strings, so that they often have something in common.
class Generator {
public:
    explicit Generator(std::uint64_t seed) : random_(seed) {}

    /// A number from 0 to `bound` - 1.
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_() % bound); }

    /// True once in `count` times.
    bool oneIn(std::size_t count) { return below(count) == 0; }

    /// A byte or one of a few words, sometimes two, rarely very many of these.
    std::string text() {
        static constexpr std::string_view bytes("ab/[]=\\*\0\x7f\x80\xff", 12);
        static constexpr const char* words[] = {
            "", "...", "fifteen letters", "sixteen letters.", "twenty-four letters here", "many \\[=]/ \\[=]/ escapes"};
        std::size_t pieces = 1;
        if (oneIn(8)) {
            pieces = oneIn(16) ? 90 : 2;
        }
        std::string text;
        for (; pieces > 0; --pieces) {
            text += oneIn(2) ? std::string(1, bytes[below(bytes.size())]) : words[below(std::size(words))];
        }
        return text;
    }

    /// A path of up to `longest` segments, each with a name and half of them with up to three attributes.
    Path path(std::size_t longest) {
        Path path(below(longest + 1));
        for (Segment& segment : path) {
            while (segment.name.empty()) {
                segment.name = text();
            }
            for (std::size_t count = oneIn(2) ? below(4) : 0; count > 0; --count) {
                segment.attributes[text()] = text();
            }
        }
        return path;
    }

private:
    std::mt19937_64 random_;
};

}  // namespace Model
