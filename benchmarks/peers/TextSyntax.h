/// @file
/// What the peers share: reading and writing the text of a path, and matching. Each peer stores segments differently.

#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Benchmarks {

/// The number of leading bytes of `text` that are none of `Specials`.
template <char... Specials>
[[nodiscard]] inline std::size_t runLength(std::string_view text) noexcept {
    std::size_t size = 0;
    while (size < text.size() && ((text[size] != Specials) && ...)) {
        ++size;
    }
    return size;
}

/// Reads the segments of a string one by one.
class SegmentReader {
public:
    explicit SegmentReader(std::string_view text) noexcept : rest_(text) {
        if (!rest_.empty() && rest_.front() == '/') {
            rest_.remove_prefix(1);
        }
    }

    /// An upper bound of the number of segments; exact unless a field holds a "/".
    [[nodiscard]] std::size_t maximalCount() const noexcept {
        return static_cast<std::size_t>(std::count(rest_.begin(), rest_.end(), '/')) + 1;
    }

    /// Whether every segment has been read.
    [[nodiscard]] bool atEnd() const noexcept { return rest_.empty(); }

    /// Reads the next segment, of which there must be one, into `name` and `attributes`, which are empty. Returns false
    /// when it is malformed.
    template <typename Attributes>
    [[nodiscard]] bool next(std::string& name, Attributes& attributes) {
        const End end = readField<'/', '['>(name);
        if (end == End::error) {
            return false;
        }
        if (name.empty()) {
            return fail("a segment name cannot be empty");
        }
        return end != End::terminator || terminator_ == '/' || readAttributes(attributes);
    }

    /// Why the text is malformed; empty when it is not.
    [[nodiscard]] std::string takeError() noexcept { return std::move(error_); }

private:
    enum class End { terminator, text, error };

    bool fail(std::string_view message) {
        error_ = message;
        return false;
    }

    template <char... Terminators>
    End readField(std::string& field) {
        std::size_t size = runLength<Terminators..., '\\'>(rest_);
        field.assign(rest_.data(), size);
        while (size < rest_.size() && rest_[size] == '\\') {
            rest_.remove_prefix(size + 1);
            if (!readEscaped(field)) {
                return End::error;
            }
            size = runLength<Terminators..., '\\'>(rest_);
            field.append(rest_.data(), size);
        }
        if (size == rest_.size()) {
            rest_ = {};
            return End::text;
        }
        terminator_ = rest_[size];
        rest_.remove_prefix(size + 1);
        return End::terminator;
    }

    bool readEscaped(std::string& field) {
        if (rest_.empty()) {
            return fail("an escape sequence is unfinished");
        }
        const char escaped = rest_.front();
        if (std::string_view("\\/=[]").find(escaped) == std::string_view::npos) {
            return fail(std::string("\\") + escaped + " is not a valid escape sequence");
        }
        field.push_back(escaped);
        rest_.remove_prefix(1);
        return true;
    }

    template <typename Attributes>
    bool readAttributes(Attributes& attributes) {
        for (;;) {
            std::string key;
            std::string value;
            const End keyEnd = readField<'='>(key);
            const End end = keyEnd == End::terminator ? readField<']'>(value) : keyEnd;
            if (end != End::terminator) {
                return end == End::text ? fail("an attribute is unfinished") : false;
            }
            // In canonical text, the keys are in order.
            attributes.try_emplace(attributes.end(), std::move(key), std::move(value));
            if (rest_.empty()) {
                return true;
            }
            const char next = rest_.front();
            if (next != '/' && next != '[') {
                return fail("an attribute or / was expected following ]");
            }
            rest_.remove_prefix(1);
            if (next == '/') {
                return true;
            }
        }
    }

    std::string_view rest_;
    char terminator_ = '\0';
    std::string error_;
};

/// Appends `text` with a backslash before each backslash and each of `Specials`.
template <char... Specials>
void appendEscaped(std::string& out, std::string_view text) {
    std::size_t size = runLength<Specials..., '\\'>(text);
    while (size < text.size()) {
        out.append(text.data(), size);
        out.push_back('\\');
        out.push_back(text[size]);
        text.remove_prefix(size + 1);
        size = runLength<Specials..., '\\'>(text);
    }
    out.append(text);
}

/// What to reserve for each segment. A guess that is usually too large is faster than adding up the sizes.
inline constexpr std::size_t expectedSegmentSize = 32;

template <typename Segment>
void appendSegment(std::string& out, const Segment& segment) {
    out.push_back('/');
    appendEscaped<'/', '['>(out, segment.name);
    for (const auto& [key, value] : segment.attributes) {
        out.push_back('[');
        appendEscaped<'='>(out, key);
        out.push_back('=');
        appendEscaped<']'>(out, value);
        out.push_back(']');
    }
}

/// Whether `attributes` has every attribute of `wanted`. A merge walk: both are sorted.
template <typename Attributes>
[[nodiscard]] bool hasAttributes(const Attributes& attributes, const Attributes& wanted) noexcept {
    auto candidate = attributes.begin();
    for (const auto& [key, value] : wanted) {
        int order = -1;
        while (candidate != attributes.end() && (order = candidate->first.compare(key)) < 0) {
            ++candidate;
        }
        if (candidate == attributes.end() || order > 0 || (candidate->second != value && value != "*")) {
            return false;
        }
        ++candidate;
    }
    return true;
}

/// Whether the pattern matches leading segments of the path. `path` and `pattern` are indexed from the root.
template <typename Segments>
[[nodiscard]] bool matches(const Segments& path, const Segments& pattern) noexcept {
    std::optional<std::size_t> afterSequence;  // in the pattern
    std::size_t resume = 0;                    // in the path
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < pattern.size()) {
        const auto& wanted = pattern[i];
        const bool anyAttributes = wanted.attributes.empty();
        if (anyAttributes && wanted.name == "...") {
            afterSequence = ++i;
            resume = j;
        } else if (j < path.size() &&
                   ((anyAttributes && wanted.name == "*") ||
                    (path[j].name == wanted.name && hasAttributes(path[j].attributes, wanted.attributes)))) {
            ++i;
            ++j;
        } else if (afterSequence && resume < path.size()) {
            i = *afterSequence;
            j = ++resume;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace Benchmarks
