/// @file
/// The peer "string": a path is a `std::string` with the canonical text, which is read again whenever it is used.

#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <absl/hash/hash.h>

namespace Benchmarks {

/// A segment in canonical text. Equal fields have equal text, so nothing is unescaped to compare them.
struct TextSegment {
    /// Attributes as they are in the text: [bus=pci][id=3].
    struct Attributes {
        std::string_view text;

        [[nodiscard]] bool empty() const noexcept { return text.empty(); }
        /// Found by the matching that the peers share. Does not rely on an order, which escapes change.
        friend bool hasAttributes(Attributes attributes, Attributes wanted) noexcept;
    };

    std::string_view name;
    Attributes attributes;
};

/// Removes the first segment from `rest`, which begins with a "/", and returns it.
[[nodiscard]] TextSegment takeSegment(std::string_view& rest) noexcept;

[[nodiscard]] std::string unescaped(std::string_view field);

class TextPath {
public:
    using Attributes = std::map<std::string, std::string>;

    [[nodiscard]] static std::variant<TextPath, std::string> parse(std::string_view text);

    [[nodiscard]] TextPath append(std::string_view name, const Attributes& attributes = {}) const;
    /// The path without its leaf; there must be one.
    [[nodiscard]] TextPath parent() const;
    [[nodiscard]] bool startsWith(const TextPath& prefix) const noexcept;
    [[nodiscard]] bool matchesPattern(const TextPath& pattern) const;
    [[nodiscard]] std::string toString() const { return text_.empty() ? "/" : text_; }
    [[nodiscard]] std::string leafName() const { return unescaped(leaf().name); }

    template <typename Visit>
    void forEachName(Visit visit) const {
        for (std::string_view rest = text_; !rest.empty();) {
            visit(unescaped(takeSegment(rest).name));
        }
    }

    friend bool operator==(const TextPath& left, const TextPath& right) noexcept { return left.text_ == right.text_; }
    friend bool operator<(const TextPath& left, const TextPath& right) noexcept { return left.text_ < right.text_; }
    template <typename H>
    friend H AbslHashValue(H state, const TextPath& path) {
        return H::combine(std::move(state), path.text_);
    }

private:
    /// The last segment; there must be one.
    [[nodiscard]] TextSegment leaf() const noexcept;

    std::string text_;  // empty for the root
};

}  // namespace Benchmarks
