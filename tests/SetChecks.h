/// @file
/// A set of patterns beside a plain list of them. A failed check aborts the process.

#pragma once

#include <optional>
#include <utility>
#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

#include "Checks.h"

namespace Checks {

using Tavik::ObjectPathCapture;
using Config = Tavik::ObjectPathPatternConfig;

/// A path of up to `longest` segments of an alphabet, which `source` chooses by its numbers `below(bound)`.
ObjectPath pathOf(auto& source, const Model::Path& alphabet, std::size_t longest) {
    ObjectPath path;
    for (std::size_t depth = source.below(longest + 1); depth > 0; --depth) {
        path = Model::append(path, alphabet[source.below(alphabet.size())]);
    }
    return path;
}

/// Options that `source` chooses, mostly none.
Config configOf(auto& source) {
    const std::size_t choice = source.below(8);
    return {choice % 4 == 1, choice % 4 > 1 && choice < 4};
}

/// What each segment of a pattern matches, each "..." as little as possible from the root on. Tries all matches.
inline std::optional<std::vector<ObjectPathCapture>> captureOf(const Model::Path& path,
                                                               std::span<const Model::Segment> pattern,
                                                               const Config& config,
                                                               std::size_t first = 0) {
    if (pattern.empty()) {
        return config.wholePath && first < path.size() ? std::nullopt : std::optional(std::vector<ObjectPathCapture>());
    }
    const Model::Segment& segment = pattern.front();
    const bool isSequence = segment == Model::Segment{"...", {}};
    const bool isAnyName = config.anyNameWithAttributes && segment.name == "*";
    for (std::size_t count = isSequence ? 0 : 1; first + count <= path.size() && (isSequence || count == 1); ++count) {
        const auto matched = std::span(path).subspan(first, count);
        if (isSequence ||
            Model::matches(matched[0], {isAnyName ? matched[0].name : segment.name, segment.attributes}) ||
            Model::matches(matched[0], segment)) {
            if (auto captures = captureOf(path, pattern.subspan(1), config, first + count)) {
                captures->insert(captures->begin(), {first, count});
                return captures;
            }
        }
    }
    return std::nullopt;
}

/// What patterns with options are ordered by, as those without any: see `Model::specificity`.
inline auto specificity(const Model::Path& pattern, const Config& config, std::size_t depth) {
    auto order = Model::specificity(pattern, depth);
    for (std::size_t i = 0; i < depth; ++i) {
        int& kind = std::get<0>(order)[i];
        if (i < pattern.size() ? config.anyNameWithAttributes && pattern[i].name == "*" : config.wholePath) {
            kind = 1;
        }
        kind = i >= pattern.size() && config.wholePath ? 5 : 3 * kind;  // between "*" and "..."
    }
    return order;
}

/// Checks what depends on the options of patterns.
inline void checkOptions(const Sample& left, const Sample& right) {
    constexpr Config configs[] = {{false, false}, {true, false}, {false, true}, {true, true}};
    for (const Config& config : configs) {
        const auto requireThat = [&](const auto& actual, const auto& expected, const char* what) {
            requireEqual(actual, expected, what, left.model, right.model, config.wholePath,
                         config.anyNameWithAttributes);
        };
        const auto captures = left.path.capture(right.path, config);
        const auto expected = captureOf(left.model, right.model, config);
        requireThat(captures.has_value(), expected.has_value(), "whether there are captures");
        requireThat(!captures || std::ranges::equal(*captures, *expected), true, "whether the captures are equal");
        requireThat(left.path.matchesPattern(right.path, config), expected.has_value(), "matchesPattern");
        const bool isAnyName =
            config.anyNameWithAttributes && std::ranges::count(left.model, "*", &Model::Segment::name);
        requireThat(left.path.hasWildcards(config), isAnyName || Model::hasWildcards(left.model), "hasWildcards");
        const std::size_t depth = std::max(left.model.size(), right.model.size()) + 1;
        for (const Config& other : configs) {
            requireThat(isMoreSpecific(left.path, config, right.path, other),
                        specificity(left.model, config, depth) < specificity(right.model, other, depth),
                        "isMoreSpecific");
        }
    }
}

class ListedSet {
public:
    /// Changes the set in a way that `source` chooses, and checks it. Mostly adds or mostly removes patterns.
    void change(auto& source, bool grows) {
        static const auto patterns = std::get<Model::Path>(
            Model::parse("/a/a/b/*/.../.../a[k=1]/*[k=1]/...[k=*]/a[*=*][j=1][k=2]/a[j=*][k=*]/*[j=*]/a[k=...]"));
        static const auto paths = std::get<Model::Path>(
            Model::parse("/a/a/b/*/...[k=2]/a[k=1]/*[k=1][l=2]/a[*=2][j=1][k=2]/b[j=1][k=*]/a[k=...]"));
        const std::size_t choice = source.below(20);
        const ObjectPath pattern = pathOf(source, patterns, source.below(3) == 0 ? 6 : 2);
        const Config config = configOf(source);
        if (choice < (grows ? 6U : 10U)) {
            if (const std::optional<std::size_t> index = anyIndex(source)) {
                remove(*index);
            }
        } else if (choice < 16) {
            add(pattern, config);
        } else if (choice == 16) {
            addLast(pattern, config);
        } else if (choice == 17) {
            const ListedSet copy(*this);
            add(pattern, config);
            copy.check(pattern);
            *this = copy;
        } else if (choice == 18) {
            set_ = Tavik::ObjectPathPatternSet(std::move(set_));
        } else if (source.below(20) == 0) {
            set_.clear();
            list_.clear();
            free_.clear();
        }
        checkFind({pattern, config});
        check(pathOf(source, paths, 14));
    }

    void add(const ObjectPath& pattern, const Config& config = {}) {
        std::size_t index = list_.size();
        if (free_.empty()) {
            list_.emplace_back();
        } else {
            index = free_.back();
            free_.pop_back();
        }
        list_[index] = {pattern, config};
        requireEqual(set_.add(pattern, config), index, "index of the added pattern", pattern);
    }

    void addLast(const ObjectPath& pattern, const Config& config) {
        while (!list_.empty() && !list_.back()) {
            std::erase(free_, list_.size() - 1);
            list_.pop_back();
        }
        list_.push_back({{pattern, config}});
        requireEqual(set_.addLast(pattern, config), list_.size() - 1, "index of the last pattern", pattern);
    }

    void remove(std::size_t index) {
        set_.remove(index);
        list_[index].reset();
        free_.push_back(index);
    }

    /// Checks the patterns that select `path`.
    void check(const ObjectPath& path) const {
        std::vector<std::size_t> expected;
        auto position = set_.begin();
        for (std::size_t i = 0; i < list_.size(); ++i) {
            requireEqual(set_.contains(i), list_[i].has_value(), "whether there is a pattern");
            if (list_[i]) {
                const auto& [pattern, config] = *list_[i];
                requireEqual(set_[i], pattern, "pattern");
                requireEqual(set_.config(i) == config, true, "whether the options are those of the pattern", pattern);
                requireEqual(position->first, i, "index in the order of iteration");
                requireEqual((*position++).second, pattern, "pattern in the order of iteration");
                if (path.matchesPattern(pattern, config)) {
                    expected.push_back(i);
                }
            }
        }
        requireEqual(position == set_.end(), true, "whether the iteration ends");
        requireEqual(set_.contains(list_.size()), false, "whether there is a pattern beyond the last one");
        requireEqual(set_.size(), list_.size() - free_.size(), "number of patterns");
        requireEqual(set_.empty(), set_.size() == 0, "empty");
        std::vector<std::size_t> indexes = {list_.size()};
        set_.match(path, indexes);
        requireEqual(fmt::format("{}", fmt::join(indexes, " ")), fmt::format("{}", fmt::join(expected, " ")), "match",
                     path);
        requireEqual(set_.matchesAny(path), !expected.empty(), "matchesAny", path);
        requireEqual(set_.firstMatch(path), expected.empty() ? std::nullopt : std::optional(expected.front()),
                     "firstMatch", path);
    }

private:
    struct Listed {
        ObjectPath path;
        Config config;

        bool operator==(const Listed&) const = default;
    };

    /// Checks the search for a pattern.
    void checkFind(const Listed& pattern) const {
        const std::optional<std::size_t> index = set_.find(pattern.path, pattern.config);
        const bool isThere = std::ranges::count(list_, std::optional(pattern)) > 0;
        requireEqual(index.has_value(), isThere, "whether the pattern is found", pattern.path);
        requireEqual(!isThere || list_[*index] == pattern, true, "whether the found pattern is equal", pattern.path);
    }

    /// The index of a pattern, unless there is none.
    std::optional<std::size_t> anyIndex(auto& source) const {
        const std::size_t start = list_.empty() ? 0 : source.below(list_.size());
        for (std::size_t i = 0; i < list_.size(); ++i) {
            if (const std::size_t index = (start + i) % list_.size(); list_[index]) {
                return index;
            }
        }
        return std::nullopt;
    }

    Tavik::ObjectPathPatternSet set_;
    std::vector<std::optional<Listed>> list_;
    std::vector<std::size_t> free_;  // indexes of removed patterns, the last one last
};

}  // namespace Checks
