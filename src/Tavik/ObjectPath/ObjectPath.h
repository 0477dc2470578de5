/// @file
/// Hierarchical names for the objects of a system.
///
/// An `ObjectPath` is an immutable value: a sequence of segments, each with a name and an ordered set of attributes.
///
/// @code
/// using Tavik::ObjectPath;
///
/// // Build a path from the root, which is a default-constructed path.
/// const ObjectPath device = ObjectPath().append("dev", {{"bus", "pci"}, {"id", "3"}});
/// const ObjectPath port = device.append("port");
///
/// // Print it: /dev[bus=pci][id=3]/port
/// std::cout << port << '\n';
///
/// // Read untrusted input: the result is a path or a message. To have errors thrown, use parseObjectPathOrThrow.
/// // parseObjectPath is for strings that the program knows to be valid: it terminates the process if they are not.
/// const auto parsed = Tavik::tryParseObjectPath("/dev[bus=pci][id=3]/port");
/// if (const auto* message = std::get_if<Tavik::String>(&parsed)) {
///     std::cerr << *message << '\n';
/// } else {
///     assert(std::get<ObjectPath>(parsed) == port);
/// }
///
/// // Navigate, match and sort.
/// assert(port.parent() == device && port.startsWith(device));
/// assert(*device.leaf()->attribute("bus") == "pci");
/// assert(port.matchesPattern(Tavik::parseObjectPath("/dev[bus=*]")));
/// assert(device < port);
/// @endcode
///
/// Paths are hash-consed: a prefix that two paths share is stored only once per process. Equality compares two
/// pointers, a copy increments two reference counts, and a prefix test never looks at a string.
///
/// **Defaults.** Unless noted, a function takes constant time, never throws, allocates nothing and takes no lock.
///
/// **Threads.** Every function may be called from any thread at any time. A path object itself is like an `int`:
/// several threads may read one, and a thread that assigns to it needs exclusive access. Creating or releasing a node
/// briefly takes one of two process-wide locks, never both, and so does finding a node that this thread has not found
/// recently. `reserve` and `fork` take both; nothing else takes these locks. To find nodes again without a lock, a
/// thread keeps at most 57 KiB of memory until it ends; threads that meet at a lock share at most 68 bytes more for
/// each node of the largest number that there was at one time, and at most 136 MiB. Strings of more than 15 bytes are
/// shared through a pool, which has locks of its own. After a `fork`, the child can use paths, too.
///
/// **Lifetime.** A path owns its nodes and keeps its ancestors alive. A node is released with the last path that uses
/// it. Paths may be built, used and released until the process has ended, even by destructors of static objects and by
/// threads that are still running. The library stays loaded once it is loaded.
///
/// **Errors.** Malformed input yields a message. Violating a precondition terminates the process through
/// `Tavik::Impl::vfmassertb`. Running out of memory throws `std::bad_alloc` and failing to lock a mutex throws
/// `std::system_error`, with all paths unchanged. Where nothing may be thrown, they terminate the process: in the
/// parser, in the operations of `String`, and while a path is destroyed.

#pragma once

#if __cplusplus < 201703L
#error "The headers of TavikObjectPath need C++17 or later."
#include <Tavik/a-later-language>  // is nowhere, so that the compiler stops before hundreds of other errors
#elif !defined(__cpp_exceptions)
#error "The headers of TavikObjectPath need exceptions: they cannot be used with -fno-exceptions."
#include <Tavik/exceptions>  // is nowhere, either
#endif

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include <absl/container/btree_map.h>

#include <Tavik/Core/Lifetime.h>
#include <Tavik/Core/String.h>
#include <Tavik/ObjectPath/Captures.h>
#include <Tavik/ObjectPath/Export.h>
#include <Tavik/ObjectPath/InternedNodes.h>
#include <Tavik/ObjectPath/ObjectPathError.h>
#include <Tavik/ObjectPath/ObjectPathFwd.h>
#include <Tavik/ObjectPath/Options.h>
#include <Tavik/ObjectPath/Segment.h>
#include <Tavik/ObjectPath/TextPosition.h>
#include <Tavik/ObjectPath/Version.h>

namespace Tavik {

/// An immutable, hierarchical name: zero or more segments from the root to the leaf, each with a name and a set of
/// attributes that is ordered by key. Names, keys and values may hold any bytes; no name has a special meaning, not
/// even "." and "..".
///
/// It is a regular value type of two pointers. Copying increments two reference counts; moving transfers them and
/// leaves the root path. Neither can fail. Destroying the last path that uses a node releases that node, which briefly
/// takes a lock; amortised, since a table that has become nearly empty moves its entries to a smaller one. That uses
/// constant stack space, however long the path is.
class TAVIK_OBJECT_PATH_EXPORT ObjectPath {  // from text: parseObjectPath(text)
public:
    class Segments;
    class Views;
    struct View;

    /// The node of the leaf segment, which leads to the nodes of its ancestors; null for the root path. Programs may
    /// read it, but never set it, nor make a path of one member: `ObjectPath{path.segment}` lacks the values.
    std::shared_ptr<const Impl::Segment> segment;

    /// The chain of the attribute values of all segments, the leaf's first; null when no segment has attributes.
    /// Programs may read it, but never set it.
    std::shared_ptr<const Impl::Value> values;

    /// @name Building
    /// @{

    /// This path with one more segment. Nothing is validated or escaped: strings are used verbatim. Another map's
    /// attributes are passed as `{map.begin(), map.end()}`. The cost depends on the strings, not on the length of this
    /// path; allocates nodes for content that no living path has. Amortised: a table that grows moves all entries under
    /// its lock. Throws `std::bad_alloc` and `std::system_error`. Briefly takes a lock for each attribute and one for
    /// the segment, one at a time; none for a node that this thread found recently.
    [[nodiscard]] ObjectPath append(std::string_view name, const absl::btree_map<String, String>& attributes) const;

    /// As above, with the attributes in braces: `append("dev", {{"bus", "pci"}, {"id", "3"}})`. They may be in any
    /// order; of equal keys, the first one wins. Allocates for a string of more than 15 bytes, for more than four
    /// attributes and for attributes that are not in ascending order of their keys. Since 1.4.
    [[nodiscard]] ObjectPath append(std::string_view name,
                                    std::initializer_list<std::pair<String, String>> attributes) const {
        return appendPairs(name, attributes.begin(), attributes.size());
    }

    /// As above, with the attributes of a range of pairs of strings, such as a `std::map<std::string, std::string>`, a
    /// vector of pairs, the `attributeRange()` of another segment, or the `items()` of a JSON object of the nlohmann
    /// library, which throws its error for a value that is no string. Since 1.4.
    template <typename Range, typename = Impl::EnableAttributes<Range>>
    [[nodiscard]] ObjectPath append(std::string_view name, Range&& attributes) const {
        const Impl::CopiedAttributes copies = Impl::copyAttributes(attributes);
        return appendPairs(name, copies.data(), copies.size());
    }

    /// This path with one more segment, which has no attributes. The cost depends on the name, not on the length of
    /// this path. Throws `std::bad_alloc` and `std::system_error`. Briefly takes one lock; none if this thread found
    /// the node recently.
    [[nodiscard]] ObjectPath append(std::string_view name) const;

    /// This path with a segment that has the name and the attributes of `other`. Has the cost, exceptions and locks of
    /// appending these. It is a fatal assertion if `other` has no node. Since 1.2.
    [[nodiscard]] ObjectPath append(const ObjectPathSegment& other) const;

    /// This path followed by all segments of `other`, which may be this path. Has the cost, exceptions and locks of
    /// appending each segment of `other`.
    [[nodiscard]] ObjectPath append(const ObjectPath& other) const;

    /// This path with a segment for each name in `text`, which `separator` separates. Names are used verbatim, and
    /// empty ones are skipped. For names of other systems, such as those of files: the file name /usr/bin/[ is no text
    /// of a path, and x[a=b] is the text of a segment with an attribute. Linear in `text`; has the cost, exceptions and
    /// locks of appending each name. Since 1.3.
    [[nodiscard]] ObjectPath appendNames(std::string_view text, char separator = '/') const;

    /// This path with the attribute `key` of its leaf set to `value`, whether or not the leaf had that key. Has the
    /// cost, exceptions and locks of appending that leaf. At the root, it is a fatal assertion. Since 1.3.
    [[nodiscard]] ObjectPath withAttribute(std::string_view key, std::string_view value) const;

    /// This path without the attribute `key` of its leaf; this path itself if the leaf has no such attribute. Has the
    /// cost, exceptions and locks of appending that leaf. At the root, it is a fatal assertion. Since 1.3.
    [[nodiscard]] ObjectPath withoutAttribute(std::string_view key) const;

    /// This path with `replacement` in place of its ancestor `base`, which may be this path itself: the segments after
    /// `base` follow `replacement` instead. Empty when this path does not start with `base`. Has the cost,
    /// exceptions and locks of appending what is below `base`. Since 1.2.
    [[nodiscard]] std::optional<ObjectPath> replacePrefix(const ObjectPath& base, const ObjectPath& replacement) const;

    /// What is below `base`, as a path from the root: `replacePrefix` with the root path. Since 1.2.
    [[nodiscard]] std::optional<ObjectPath> relativeTo(const ObjectPath& base) const;

    /// `append` as an operator: `path / "name"`, `path / segment` and `path / other`. A name is used verbatim, even one
    /// with a "/". Has the cost, exceptions and locks of `append`. Since 1.3.
    /// @{
    [[nodiscard]] ObjectPath operator/(std::string_view name) const { return append(name); }
    [[nodiscard]] ObjectPath operator/(const ObjectPathSegment& other) const { return append(other); }
    [[nodiscard]] ObjectPath operator/(const ObjectPath& other) const { return append(other); }
    ObjectPath& operator/=(std::string_view name) { return *this = append(name); }
    ObjectPath& operator/=(const ObjectPathSegment& other) { return *this = append(other); }
    ObjectPath& operator/=(const ObjectPath& other) { return *this = append(other); }
    /// @}

    /// @}
    /// @name Finding
    /// @{

    /// The path that `append` with the same arguments would return, if all its nodes are alive; empty otherwise.
    /// Creates no node. Allocates once for each thread, and for strings of more than 15 bytes or more than four
    /// attributes. Has the locks of `append` and its exceptions. The result keeps the path
    /// alive; another thread may create or release the path at any time. Since 1.4.
    /// @{
    [[nodiscard]] std::optional<ObjectPath> findChild(std::string_view name) const;
    [[nodiscard]] std::optional<ObjectPath> findChild(std::string_view name,
                                                      const absl::btree_map<String, String>& attributes) const;
    /// @}

    /// @}
    /// @name Planning
    /// @{

    /// Makes room for `segments` segment nodes and `values` value nodes in the process, living nodes included. As long
    /// as there are no more, the tables of nodes neither grow nor shrink, so no thread waits for a table to do so. Each
    /// call replaces the numbers of the last one, and `reserve(0, 0)` takes the reservation back. If a table has less
    /// room, moves its entries under the table's lock, which is the pause that growing would cause later. A reserved
    /// segment takes at most 292 bytes and a value 196, of which pages count only once they are used. Throws
    /// `std::bad_alloc` with nothing changed, and `std::system_error`. Since 1.3.
    static void reserve(std::size_t segments, std::size_t values);

    /// @}
    /// @name Navigation
    /// @{

    /// Whether this is the root path, which has no segments. Since 1.3.
    [[nodiscard]] bool isRoot() const noexcept { return segment == nullptr; }

    /// A cursor at the leaf of this path. Valid until this path is destroyed or assigned to.
    [[nodiscard]] View toView() const noexcept TAVIK_LIFETIMEBOUND;

    /// The last segment; empty for the root path. Increments two reference counts.
    [[nodiscard]] std::optional<ObjectPathSegment> leaf() const noexcept;

    /// The value of the attribute with the given key at the level nearest to the leaf that has the key; null when no
    /// level has it. Compares the keys of each level one by one, from the leaf towards the root. Valid until this path
    /// is destroyed or assigned to. Since 1.4.
    [[nodiscard]] const String* attribute(std::string_view key) const noexcept TAVIK_LIFETIMEBOUND;

    /// The path without its last segment; empty for the root path. Walks the attributes of the leaf and increments two
    /// reference counts.
    [[nodiscard]] std::optional<ObjectPath> parent() const noexcept;

    /// The number of segments. Walks to the root. Since 1.2.
    [[nodiscard]] std::size_t depth() const noexcept;

    /// The path of the first `count` segments; this path if it has no more. Walks from the leaf and increments two
    /// reference counts. Since 1.2.
    [[nodiscard]] ObjectPath prefix(std::size_t count) const noexcept;

    /// The longest path that both paths start with, which may be the root path. Walks both paths and increments two
    /// reference counts. Since 1.2.
    [[nodiscard]] ObjectPath commonPrefix(const ObjectPath& other) const noexcept;

    /// Whether `base` is this path or one of its ancestors, the root path included. Segments must be equal, while a
    /// pattern may leave attributes out: /tenant[id=1]/x does not start with /tenant, but is selected by it. Compares
    /// pointers from the leaf towards the root.
    [[nodiscard]] bool startsWith(const ObjectPath& base) const noexcept;

    /// All segments of this path; none for the root path. Increments two reference counts for each segment and
    /// allocates only for more than ten segments. Throws `std::bad_alloc`.
    [[nodiscard]] Segments explode() const;

    /// Cursors at all segments of this path, from the first segment to the leaf; none for the root path. Valid until
    /// this path is destroyed or assigned to. Walks to the root, changes no reference counts, and allocates only for
    /// more than ten segments. Throws `std::bad_alloc`. Since 1.3.
    [[nodiscard]] Views views() const TAVIK_LIFETIMEBOUND;

    /// @}
    /// @name Text
    /// @{

    /// The canonical text, such as /dev[bus=pci][id=3]/port. `tryParseObjectPath` reads it back to this path, unless a
    /// segment has an empty name. A newline in a name, key or value is written as it is, so it breaks a file of one
    /// path a line. Linear in the text. Throws `std::bad_alloc`, but only for more than ten segments.
    [[nodiscard]] String toString() const;

    /// The text of this path in the form that `config` describes. Linear in the text. Throws `std::bad_alloc`, but only
    /// for more than ten segments.
    [[nodiscard]] String toString(const ObjectPathStringConfig& config) const;

    /// @}
    /// @name Matching
    /// @{

    /// Whether `pattern` selects this path. A pattern is a path, read in this way:
    /// - a segment "..." without attributes matches zero or more segments;
    /// - a segment "*" without attributes matches exactly one segment;
    /// - any other segment matches one segment of the same name that has all its attributes, possibly among others;
    ///   the value "*" matches any value of its key.
    ///
    /// A pattern begins at the root, and every pattern ends in an implied "...": it selects the paths whose leading
    /// segments it matches. So the root path selects every path. `ObjectPathPatternSet` matches many patterns at once.
    ///
    /// Compares segments at most (segments of this path) × (segments of `pattern`) times, without recursion, and
    /// allocates only if either has more than ten segments. Throws `std::bad_alloc`.
    [[nodiscard]] bool matchesPattern(const ObjectPath& pattern) const;
    template <typename Text, typename UseParseObjectPath = Impl::EnableText<Text>>
    bool matchesPattern(const Text& pattern) const = delete;

    /// Whether `pattern` selects this path if it is read with the options `config`. Costs and throws the same. Since
    /// 1.4.
    [[nodiscard]] bool matchesPattern(const ObjectPath& pattern, const ObjectPathPatternConfig& config) const;

    /// What each segment of `pattern` matched, as levels of this path; empty if `pattern` does not select it. Where
    /// several matches are possible, each "..." is as short as possible, from the root on. Costs and throws the same as
    /// `matchesPattern`. Since 1.4.
    [[nodiscard]] std::optional<ObjectPathCaptures> capture(const ObjectPath& pattern,
                                                            const ObjectPathPatternConfig& config = {}) const;

    /// Whether this path, read as a pattern, has a segment "..." or "*" without attributes, or a value "*". A pattern
    /// without wildcards selects only paths that have all its names and attributes. Walks to the root. Since 1.2.
    [[nodiscard]] bool hasWildcards() const noexcept;

    /// The same for a pattern that is read with the options `config`, which may make "*" with attributes a wildcard.
    /// Since 1.4.
    [[nodiscard]] bool hasWildcards(const ObjectPathPatternConfig& config) const noexcept;

    /// @}
    /// @name Order
    /// @{

    /// Three-way comparison: negative when this path is the lesser one, zero if and only if both are equal. The order
    /// is lexicographic by segments from the root, so a path comes directly before what lies below it. Of two segments,
    /// the names are compared first, then the attributes as pairs of key and value in the order of the keys, a shorter
    /// list before the longer one; strings are compared as unsigned bytes. The order is the same in every process.
    /// Walks both paths towards the root and compares the strings of one segment. Since 1.1.
    [[nodiscard]] int compare(const ObjectPath& other) const noexcept;

    /// @}
    /// @name Comparison operators
    /// @{

    /// Whether both are the same path: the same names, keys and values in the same order. Compares two pointers.
    [[nodiscard]] friend bool operator==(const ObjectPath& left, const ObjectPath& right) noexcept {
        return left.segment == right.segment && left.values == right.values;
    }
    /// The opposite of `==`.
    [[nodiscard]] friend bool operator!=(const ObjectPath& left, const ObjectPath& right) noexcept {
        return !(left == right);
    }

    /// The order of `compare`. Since 1.1; `<=>` since 1.2, where the language has it.
    /// @{
    [[nodiscard]] friend bool operator<(const ObjectPath& left, const ObjectPath& right) noexcept {
        return left.compare(right) < 0;
    }
    [[nodiscard]] friend bool operator>(const ObjectPath& left, const ObjectPath& right) noexcept {
        return left.compare(right) > 0;
    }
    [[nodiscard]] friend bool operator<=(const ObjectPath& left, const ObjectPath& right) noexcept {
        return left.compare(right) <= 0;
    }
    [[nodiscard]] friend bool operator>=(const ObjectPath& left, const ObjectPath& right) noexcept {
        return left.compare(right) >= 0;
    }
#ifdef TAVIK_THREE_WAY_COMPARISON
    [[nodiscard]] friend std::strong_ordering operator<=>(const ObjectPath& left, const ObjectPath& right) noexcept {
        return left.compare(right) <=> 0;
    }
#endif
    /// @}

private:
    [[nodiscard]] ObjectPath appendPairs(std::string_view name,
                                         const std::pair<String, String>* attributes,
                                         std::size_t count) const;
};

static_assert(sizeof(ObjectPath) == 2 * sizeof(std::shared_ptr<const void>));
static_assert(std::is_nothrow_move_constructible_v<ObjectPath> && std::is_nothrow_move_assignable_v<ObjectPath>);
static_assert(std::is_nothrow_copy_constructible_v<ObjectPath> && std::is_nothrow_copy_assignable_v<ObjectPath>);

/// The range of `top` and all paths below it in the order of paths. A path compares less than the range if it comes
/// before it, and greater if it comes after it, so that `equal_range(ObjectPathSubtree{top})` finds the range in
/// containers with transparent comparison, such as `std::set<ObjectPath, std::less<>>`, and `std::equal_range` in a
/// sorted vector. `top` must outlive it. Since 1.2.
struct ObjectPathSubtree {
    /// The path at the top of the subtree.
    const ObjectPath& top;

    /// Whether `path` comes before the subtree.
    [[nodiscard]] friend bool operator<(const ObjectPath& path, const ObjectPathSubtree& subtree) noexcept {
        return path < subtree.top;
    }
    /// Whether `path` comes after the subtree.
    [[nodiscard]] friend bool operator<(const ObjectPathSubtree& subtree, const ObjectPath& path) noexcept {
        return subtree.top < path && !path.startsWith(subtree.top);
    }
    /// Whether all of `left` comes before `right`. For algorithms that compare two values of each type, such as
    /// `std::ranges::equal_range`. Since 1.3.
    [[nodiscard]] friend bool operator<(const ObjectPathSubtree& left, const ObjectPathSubtree& right) noexcept {
        return left < right.top;
    }
};

/// Writes the canonical text to `out`; width and fill of the stream apply. Throws what the stream and
/// `ObjectPath::toString` throw.
/// @relatesalso ObjectPath
TAVIK_OBJECT_PATH_EXPORT std::ostream& operator<<(std::ostream& out, const ObjectPath& path);

/// Reads a path from untrusted input, such as /dev[bus=pci][id=3]/port. Returns the path, or a message in English that
/// says why the text is not a path. The leading "/" may be missing, one trailing "/" is ignored, and of several
/// attributes with the same key the first one wins. Makes one pass over the text, with the cost and locks of appending
/// each segment. Segments that it has in common with the parent of the path that this thread parsed last cost a
/// comparison of bytes. Running out of memory or failing to lock a mutex terminates the process: limit the size of
/// `text` first, since a path may need more than a hundred times the memory of its text. `text` need not outlive the
/// call.
/// @relatesalso ObjectPath
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT std::variant<ObjectPath, String> tryParseObjectPath(
    std::string_view text) noexcept;

/// Reads a path from its text, like `tryParseObjectPath` without `errorOffset`. When `text` is not a path,
/// `errorOffset` becomes the place of the error: the length of the longest prefix of `text` that is also a prefix of
/// some valid text. That is the offset of the first byte that cannot be right, or the size of `text` when it is
/// unfinished. When `text` is a path, `errorOffset` is unchanged. Since 1.1.
/// @relatesalso ObjectPath
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT std::variant<ObjectPath, String> tryParseObjectPath(
    std::string_view text,
    std::size_t& errorOffset) noexcept;

/// The path of a text if all its nodes are alive; empty otherwise, and for text that is not a path. For requests that
/// name something that must exist already: unlike `tryParseObjectPath`, it creates no node, so whoever sends unknown
/// names makes the process neither intern nor keep them. Stops at the first node that is not there. Allocates once for
/// each thread, and for names, keys and values that have escapes or more than 15 bytes, more than four attributes of a
/// segment, and attributes out of order. Running out of memory or
/// failing to lock a mutex terminates the process. Briefly takes a lock for each node that this thread did not find
/// recently. `text` need not outlive the call. Since 1.4.
/// @relatesalso ObjectPath
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT std::optional<ObjectPath> findObjectPath(std::string_view text) noexcept;

/// Reads a path from a string that the program knows to be valid, such as a literal: malformed text is a fatal
/// assertion. Has the cost and locks of `tryParseObjectPath`.
/// @relatesalso ObjectPath
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT ObjectPath parseObjectPath(std::string_view text) noexcept;

/// Reads a path from untrusted input for callers that handle errors further up, as while a file is loaded. Throws
/// `ObjectPathError` if `text` is not a path. Has the cost and locks of `tryParseObjectPath`. Since 1.3.
/// @relatesalso ObjectPath
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT ObjectPath parseObjectPathOrThrow(std::string_view text);

}  // namespace Tavik

// What needs the class: its nested classes, with the inline functions that use them, what other libraries call, and
// literals.
#include <Tavik/ObjectPath/Cursors.h>
#include <Tavik/ObjectPath/Hooks.h>
#include <Tavik/ObjectPath/Literals.h>
