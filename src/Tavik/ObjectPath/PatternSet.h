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
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {

namespace Impl {
class PatternTree;
}  // namespace Impl

/// A list of patterns that finds all patterns that select a path without trying each. A pattern selects the paths
/// for which `ObjectPath::matchesPattern` returns true, with the options with which the pattern was added. Since 1.2.
///
/// Each pattern has an index, even one that is equal to another one. As long as none is removed, indexes count from 0
/// in the order of adding. The index of a removed pattern is used again: `add` then gives a new pattern an index before
/// those of older ones, while `addLast` keeps the order of adding. The set owns its patterns, and with them their
/// nodes.
///
/// **Cost.** A path is followed level by level through a tree in which patterns share their common beginnings. A
/// beginning is a step of the tree: a name, "*" or "..." is one, and an attribute is two, its key and its value. At
/// each level of the path, each beginning that matches the path so far takes one look-up, however many patterns there
/// are, and a key takes a search among the attributes of the level. So a match takes time linear in the path, and in
/// its segments × (steps of the tree) × (1 + the logarithm of the attributes of a segment). No pattern and no path
/// makes it slower: for every process, look-ups depend on a secret key.
///
/// Const members allocate:
/// - for their results;
/// - for paths of more than ten segments, and for segments of more than 16 attributes;
/// - where more than 31 beginnings match at one level or, where they come before or after a "...", at all levels
///   together.
///
/// Memory is linear in the largest number of steps at any one time: up to 180 bytes for each, 280 for a pattern of a
/// single step, and up to 120 for an equal pattern; half of that just before it grows.
///
/// **Threads.** Several threads may call const members of one set at once; a thread that changes the set needs
/// exclusive access. Only releasing the last path that uses a node takes a lock.
///
/// **Errors.** Running out of memory throws `std::bad_alloc` with the set unchanged.
class TAVIK_OBJECT_PATH_EXPORT ObjectPathPatternSet {
public:
    class iterator;
    /// The type that a standard container names.
    using const_iterator = iterator;

    /// The empty set.
    ObjectPathPatternSet() noexcept;

    /// A copy with the same indexes, which is independent of the original. It has no room for steps of removed
    /// patterns, unless most steps are in use; only the indexes of removed patterns still take 48 bytes each. Linear in
    /// the steps of the patterns that are left, and in the largest number of patterns at any one time. Throws
    /// `std::bad_alloc`.
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

    /// Adds a pattern, which may be one of this set, and returns its index: the index that was removed last and that no
    /// other pattern has taken since, or `size()` if there is none. So a vector beside the set has no more elements
    /// than there ever were patterns at the same time, but where the first match wins, a new pattern may come before
    /// older ones. Takes amortised time linear in the pattern, and logarithmic in the number of patterns that are equal
    /// to it. Allocates; throws `std::bad_alloc` with the set unchanged.
    std::size_t add(const ObjectPath& pattern);

    /// Adds a pattern that is read with the options `config`. Has the result, cost and exceptions of `add(pattern)`.
    /// Since 1.4.
    std::size_t add(const ObjectPath& pattern, const ObjectPathPatternConfig& config);
    template <typename Text, typename UseParseObjectPath = Impl::EnableText<Text>>
    std::size_t add(const Text& pattern) = delete;

    /// Adds a pattern after all others: its index is one more than the greatest index in use, or 0. Afterwards, `add`
    /// no longer uses indexes that were removed above it. Memory is linear in the greatest index: where the first
    /// patterns are removed and others are added last for ever, it grows until a new set replaces this one. A single
    /// call may take time linear in the removed indexes; otherwise has the cost and exceptions of `add`. Since 1.4.
    std::size_t addLast(const ObjectPath& pattern, const ObjectPathPatternConfig& config = {});

    /// Removes the pattern of an index and releases its nodes. Its memory is used for further patterns. All other
    /// patterns keep their indexes. An index without a pattern is a fatal assertion. Takes amortised time linear in the
    /// pattern, and logarithmic in the number of patterns that are equal to it; a single call may take time linear in
    /// the set. Like the destructor of a path, briefly takes a lock for each node that no other path uses. Since 1.3.
    void remove(std::size_t index) noexcept;

    /// Removes all patterns and frees all memory. Has the cost and locks of the destructor. Since 1.3.
    void clear() noexcept;

    /// The indexes of all patterns that select `path`, in ascending order. Costs what the class says, plus sorting the
    /// result. Throws `std::bad_alloc`.
    [[nodiscard]] std::vector<std::size_t> match(const ObjectPath& path) const;

    /// Like `match(path)`, but replaces the elements of `indexes` by the result, so that a loop over many paths does
    /// not allocate a vector for each. Throws `std::bad_alloc`, which leaves `indexes` with unspecified elements.
    void match(const ObjectPath& path, std::vector<std::size_t>& indexes) const;

    /// Whether some pattern selects `path`. Costs what the class says, and ends at the first level at which such a
    /// pattern is found. Throws `std::bad_alloc`.
    [[nodiscard]] bool matchesAny(const ObjectPath& path) const;

    /// The smallest index of a pattern that selects `path`, as for rules of which the first one wins; empty if none
    /// does. Costs what the class says, and skips beginnings that only patterns of greater indexes than a match already
    /// found have in common. Throws `std::bad_alloc`.
    [[nodiscard]] std::optional<std::size_t> firstMatch(const ObjectPath& path) const;

    /// The index of a pattern that is equal to `pattern`, if there is one; which of several is unspecified. Takes time
    /// linear in `pattern` and in the number of patterns that are equal to it but for a "..." that changes nothing.
    /// Allocates only for more than ten segments or 32 steps; throws `std::bad_alloc`. Since 1.3.
    [[nodiscard]] std::optional<std::size_t> find(const ObjectPath& pattern) const;

    /// The same for a pattern with the options `config`; `find(pattern)` finds only patterns without any. Since 1.4.
    [[nodiscard]] std::optional<std::size_t> find(const ObjectPath& pattern,
                                                  const ObjectPathPatternConfig& config) const;

    /// Whether there is a pattern with this index. Since 1.3.
    [[nodiscard]] bool contains(std::size_t index) const noexcept;

    /// The number of patterns.
    [[nodiscard]] std::size_t size() const noexcept;

    /// Whether there are no patterns.
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// The pattern of an index, as it was added. An index without a pattern is a fatal assertion. Valid until a pattern
    /// is added, this one is removed, or this set is cleared, assigned to, moved from or destroyed.
    [[nodiscard]] const ObjectPath& operator[](std::size_t index) const noexcept TAVIK_LIFETIMEBOUND;

    /// The options of a pattern, as it was added. An index without a pattern is a fatal assertion. Since 1.4.
    [[nodiscard]] ObjectPathPatternConfig config(std::size_t index) const noexcept;

    /// Iterators over the patterns in ascending order of their indexes, for
    /// `for (const auto& [index, pattern] : set)`. A step takes time linear in the removed indexes that it skips.
    /// Since 1.4.
    /// @{
    [[nodiscard]] iterator begin() const noexcept TAVIK_LIFETIMEBOUND;
    [[nodiscard]] iterator end() const noexcept TAVIK_LIFETIMEBOUND;
    /// @}

private:
    /// The smallest index of a pattern that is not less than `start`; SIZE_MAX if there is none.
    [[nodiscard]] std::size_t nextFrom(std::size_t start) const noexcept;

    std::unique_ptr<Impl::PatternTree> tree_;  // null while there are no patterns
};

/// Steps through the patterns of a set. Dereferencing gives a pair by value. Valid as long as the set has the pattern
/// and is neither moved from nor destroyed, whatever patterns are added, and whatever others are removed. Since 1.4.
class ObjectPathPatternSet::iterator {
    struct Arrow;

public:
    /// The types that a standard iterator names. The category is that of C++17, whose forward iterators give
    /// references.
    /// @{
    using value_type = std::pair<std::size_t, const ObjectPath&>;
    using reference = value_type;
    using pointer = Arrow;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;
    using iterator_concept = std::forward_iterator_tag;
    /// @}

    /// An iterator of no set.
    iterator() noexcept = default;

    /// The index and the pattern.
    [[nodiscard]] reference operator*() const noexcept { return {index_, (*set_)[index_]}; }
    /// A member of the pair: `first` is the index, `second` the pattern.
    [[nodiscard]] pointer operator->() const noexcept;
    /// Steps to the next pattern.
    /// @{
    iterator& operator++() noexcept {
        index_ = set_->nextFrom(index_ + 1);
        return *this;
    }
    iterator operator++(int) noexcept {
        const iterator before = *this;
        ++*this;
        return before;
    }
    /// @}
    /// Whether both are at the same index.
    [[nodiscard]] friend bool operator==(const iterator& left, const iterator& right) noexcept {
        return left.index_ == right.index_;
    }
    /// The opposite of `==`.
    [[nodiscard]] friend bool operator!=(const iterator& left, const iterator& right) noexcept {
        return left.index_ != right.index_;
    }

private:
    friend class ObjectPathPatternSet;
    iterator(const ObjectPathPatternSet* set, std::size_t index) noexcept : set_(set), index_(index) {}

    const ObjectPathPatternSet* set_ = nullptr;
    std::size_t index_ = SIZE_MAX;
};

/// The result of `->` of an iterator: holds the pair, which is nowhere in memory for a pointer to refer to.
struct ObjectPathPatternSet::iterator::Arrow {
    /// The index and a reference to the pattern.
    value_type pair;
    /// The pair. Valid as long as this object: until the end of the expression that has the `->`.
    [[nodiscard]] const value_type* operator->() const noexcept { return &pair; }
};

inline ObjectPathPatternSet::iterator::pointer ObjectPathPatternSet::iterator::operator->() const noexcept {
    return {**this};
}

inline ObjectPathPatternSet::iterator ObjectPathPatternSet::begin() const noexcept {
    return {this, nextFrom(0)};
}

inline ObjectPathPatternSet::iterator ObjectPathPatternSet::end() const noexcept {
    return {this, SIZE_MAX};
}

/// Whether `left` is a more specific pattern than `right`, to sort rules of which the most specific one wins: added to
/// a set in this order, `ObjectPathPatternSet::firstMatch` finds that rule. Since 1.3.
///
/// From the root on, the first level at which the kinds of the two segments differ decides: a name is more specific
/// than "*", and "*" than "..."; a pattern that has ended counts as "..." from there on. If there is no such level, the
/// pattern with more attributes of a fixed value is more specific, then the pattern with more attributes of any value,
/// then the longer pattern. So `/a[k=1][l=2]`, `/a[k=1]`, `/a[k=*]`, `/a`, the segment "*" alone, `/.../a` and `/...`
/// are in this order; `/a/b`, and `/a` followed by "*", come before `/a`; and `/a` and `/b` are equivalent.
///
/// This is a strict weak order, as `std::sort` needs it: a lexicographic comparison, by total orders, of the list of
/// kinds, which continues without end, and of three numbers, all of which depend on one pattern alone.
///
/// Walks both patterns towards the root.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT bool isMoreSpecific(const ObjectPath& left, const ObjectPath& right) noexcept;

/// The same for patterns that are read with options. "*" with attributes, where it is any name, counts as "*". A
/// pattern of whole paths that has ended is more specific from there on than "...", and less than "*": so it is more
/// specific than the same pattern of prefixes. Since 1.4.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT bool isMoreSpecific(const ObjectPath& left,
                                                           const ObjectPathPatternConfig& leftConfig,
                                                           const ObjectPath& right,
                                                           const ObjectPathPatternConfig& rightConfig) noexcept;

static_assert(sizeof(ObjectPathPatternSet) == sizeof(void*), "the size is part of the ABI");
static_assert(std::is_nothrow_move_constructible_v<ObjectPathPatternSet> &&
              std::is_nothrow_move_assignable_v<ObjectPathPatternSet>);

/// What looks like a wildcard in a pattern and is none: a "*" in a longer name or value or anywhere in a key, the names
/// "*" and "..." with attributes, and "..." as a key or value. Each gets a sentence, in the order of the pattern, that
/// says what the string means instead, such as: the name "req*" matches only itself: no wildcard matches a part of a
/// name. A sentence may hold any byte of the pattern. Linear in the pattern. Allocates. Running out of memory throws
/// `std::bad_alloc` or, since no operation of `String` throws, terminates the process. Since 1.3.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT std::vector<String> patternWarnings(const ObjectPath& pattern);

/// The same for a pattern that is read with the options `config`. Without `anyNameWithAttributes`, the sentence for "*"
/// with attributes says that there is this option; with it, there is none. Since 1.4.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT std::vector<String> patternWarnings(const ObjectPath& pattern,
                                                                           const ObjectPathPatternConfig& config);

}  // namespace Tavik
