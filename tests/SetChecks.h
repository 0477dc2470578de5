/// @file
/// A set of patterns beside a plain list of them. A failed check aborts the process.

#pragma once

#include <optional>
#include <utility>
#include <vector>

#include <Tavik/ObjectPath/PatternSet.h>

#include "Checks.h"

namespace Checks {

/// A path of up to `longest` segments of an alphabet, which `source` chooses by its numbers `below(bound)`.
ObjectPath pathOf(auto& source, const Model::Path& alphabet, std::size_t longest) {
    ObjectPath path;
    for (std::size_t depth = source.below(longest + 1); depth > 0; --depth) {
        path = Model::append(path, alphabet[source.below(alphabet.size())]);
    }
    return path;
}

class ListedSet {
public:
    /// Changes the set in a way that `source` chooses, and checks it. Mostly adds or mostly removes patterns.
    void change(auto& source, bool grows) {
        static const auto patterns = std::get<Model::Path>(
            Model::parse("/a/a/b/*/.../.../a[k=1]/*[k=1]/...[k=*]/a[*=*][j=1][k=2]/a[j=*][k=*]/a[k=...]"));
        static const auto paths = std::get<Model::Path>(
            Model::parse("/a/a/b/*/...[k=2]/a[k=1]/*[k=1][l=2]/a[*=2][j=1][k=2]/a[j=1][k=*]/a[k=...]"));
        const std::size_t choice = source.below(20);
        const ObjectPath pattern = pathOf(source, patterns, source.below(3) == 0 ? 6 : 2);
        if (choice < (grows ? 6U : 10U)) {
            if (const std::optional<std::size_t> index = anyIndex(source)) {
                remove(*index);
            }
        } else if (choice < 17) {
            add(pattern);
        } else if (choice == 17) {
            const ListedSet copy(*this);
            add(pattern);
            copy.check(pattern);
            *this = copy;
        } else if (choice == 18) {
            set_ = Tavik::ObjectPathPatternSet(std::move(set_));
        } else if (source.below(20) == 0) {
            *this = ListedSet();
            set_.clear();
        }
        checkFind(pattern);
        check(pathOf(source, paths, 14));
    }

    void add(const ObjectPath& pattern) {
        std::size_t index = list_.size();
        if (free_.empty()) {
            list_.emplace_back();
        } else {
            index = free_.back();
            free_.pop_back();
        }
        list_[index] = pattern;
        requireEqual(set_.add(pattern), index, "index of the added pattern", pattern);
    }

    void remove(std::size_t index) {
        set_.remove(index);
        list_[index].reset();
        free_.push_back(index);
    }

    /// Checks the patterns that select `path`.
    void check(const ObjectPath& path) const {
        std::vector<std::size_t> expected;
        for (std::size_t i = 0; i < list_.size(); ++i) {
            requireEqual(set_.contains(i), list_[i].has_value(), "whether there is a pattern");
            if (list_[i]) {
                requireEqual(set_[i], *list_[i], "pattern");
                if (path.matchesPattern(*list_[i])) {
                    expected.push_back(i);
                }
            }
        }
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

    /// Checks the search for a pattern.
    void checkFind(const ObjectPath& pattern) const {
        const std::optional<std::size_t> index = set_.find(pattern);
        const bool isThere = std::ranges::count(list_, std::optional(pattern)) > 0;
        requireEqual(index.has_value(), isThere, "whether the pattern is found", pattern);
        requireEqual(!isThere || list_[*index] == pattern, true, "whether the found pattern is equal", pattern);
    }

private:
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
    std::vector<std::optional<ObjectPath>> list_;
    std::vector<std::size_t> free_;  // indexes of removed patterns, the last one last
};

}  // namespace Checks
