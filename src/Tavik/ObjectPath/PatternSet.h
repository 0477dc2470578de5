/// @file
/// Sets of patterns that are matched all at once: access lists, routes, subscriptions, alert rules.
///
/// @code
/// Tavik::ObjectPathPatternSet rules;
/// rules.add(Tavik::parseObjectPath("/.../dev[bus=usb]"));  // 0
/// rules.add(Tavik::parseObjectPath("/rack/*/port"));       // 1
///
/// const auto path = Tavik::parseObjectPath("/rack/dev[bus=usb]/port");
/// assert((rules.match(path) == std::vector<std::size_t>{0, 1}));
/// assert(rules.firstMatch(path) == 0 && rules.matchesAny(path));
/// @endcode
///
/// Unless noted, a function takes constant time, never throws, allocates nothing and takes no lock.

#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {

namespace Impl {
class PatternTree;
}  // namespace Impl

/// A list of patterns that finds those that select a path without trying them one by one. A pattern selects the paths
/// for which `ObjectPath::matchesPattern` returns true. Since 1.2.
///
/// Patterns are numbered from 0 in the order in which they were added; equal patterns have numbers of their own. The
/// set owns its patterns, and with them their nodes.
///
/// **Cost.** A path is followed level by level through a tree in which patterns share their common beginnings. Each
/// level costs a few look-ups for every beginning that matches the path so far, and one or two more for each attribute
/// of the path, however many patterns there are; it does not matter either how many differ only in a value. There are
/// never more look-ups than (segments and attributes of the path) × (those of all patterns), so patterns with many
/// "..." cause no harm. Const members allocate only for paths of more than ten segments, for more than 32 beginnings
/// that match at the same time, and for their results. Memory is linear in what patterns do not share: about 100 bytes
/// for each segment, 200 for an attribute, and 60 for each pattern.
///
/// **Threads.** Several threads may call const members of one set at once; a thread that changes the set needs
/// exclusive access. Only releasing the last path that uses a node takes a lock.
///
/// **Errors.** Running out of memory throws `std::bad_alloc` with the set unchanged.
class TAVIK_OBJECT_PATH_EXPORT ObjectPathPatternSet {
public:
    /// The empty set.
    ObjectPathPatternSet() noexcept;

    /// A copy, which is independent of the original. Linear in the set. Throws `std::bad_alloc`.
    ObjectPathPatternSet(const ObjectPathPatternSet& other);

    /// Moves all patterns and leaves `other` empty.
    ObjectPathPatternSet(ObjectPathPatternSet&& other) noexcept;

    /// Becomes a copy of `other` and releases its own patterns, as the destructor does. Linear in both sets. Throws
    /// `std::bad_alloc` with this set unchanged.
    ObjectPathPatternSet& operator=(const ObjectPathPatternSet& other);

    /// Moves all patterns, leaves `other` empty, and releases its own patterns, as the destructor does.
    ObjectPathPatternSet& operator=(ObjectPathPatternSet&& other) noexcept;

    /// Releases the patterns. Linear in the set. Like the destructor of a path, briefly takes a lock for each node that
    /// no other path uses.
    ~ObjectPathPatternSet();

    /// Adds a pattern, which may be one of this set, and returns its index: the number of patterns added before. Takes
    /// amortised time linear in the pattern. Allocates; throws `std::bad_alloc` with the set unchanged.
    std::size_t add(const ObjectPath& pattern);

    /// The indexes of all patterns that select `path`, in ascending order. Costs what the class says, plus sorting the
    /// result. Throws `std::bad_alloc`.
    [[nodiscard]] std::vector<std::size_t> match(const ObjectPath& path) const;

    /// Like `match(path)`, but replaces the elements of `indexes` by the result, so that a loop over many paths does
    /// not allocate a vector for each. Throws `std::bad_alloc`, which leaves `indexes` with unspecified elements.
    void match(const ObjectPath& path, std::vector<std::size_t>& indexes) const;

    /// Whether some pattern selects `path`. Costs what the class says, and returns at the first level at which it is
    /// known. Throws `std::bad_alloc`.
    [[nodiscard]] bool matchesAny(const ObjectPath& path) const;

    /// The smallest index of a pattern that selects `path`, as for rules of which the first one wins; empty if none
    /// does. Costs what the class says, and leaves out beginnings that only greater indexes have in common. Throws
    /// `std::bad_alloc`.
    [[nodiscard]] std::optional<std::size_t> firstMatch(const ObjectPath& path) const;

    /// The number of patterns.
    [[nodiscard]] std::size_t size() const noexcept;

    /// Whether there are no patterns.
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// The pattern of an index, as it was added. An index at or beyond `size()` is a fatal assertion. Valid until a
    /// pattern is added or this set is assigned to, moved from or destroyed.
    [[nodiscard]] const ObjectPath& operator[](std::size_t index) const;

private:
    std::unique_ptr<Impl::PatternTree> tree_;  // null while there are no patterns
};

static_assert(sizeof(ObjectPathPatternSet) == sizeof(void*), "the size is part of the ABI");
static_assert(std::is_nothrow_move_constructible_v<ObjectPathPatternSet> &&
              std::is_nothrow_move_assignable_v<ObjectPathPatternSet>);

/// What looks like a wildcard in a pattern and is none: a "*" in a longer name or value or anywhere in a key, the names
/// "*" and "..." with attributes, and "..." as a key or value. One sentence for each, in the order of the pattern,
/// which says what the text means instead, such as: the name "req*" matches only itself: no wildcard matches a part of
/// a name. A sentence may hold any byte of the pattern. Linear in the pattern. Allocates; throws `std::bad_alloc`.
/// Since 1.3.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT std::vector<String> patternWarnings(const ObjectPath& pattern);

}  // namespace Tavik
