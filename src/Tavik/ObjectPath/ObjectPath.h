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
/// recently. Nothing else takes these locks. To find nodes again without a lock, a thread keeps at most 57 KiB of
/// memory until it ends; threads that meet at a lock share up to 17 MiB more, at most 68 bytes for each node. Strings
/// of more than 15 bytes are shared through a pool, which has locks of its own. After a `fork`, the child can use
/// paths, too.
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
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>
#include <absl/hash/hash.h>
#include <fmt/format.h>
#include <boost/container/small_vector.hpp>

#include <Tavik/Core/Assert.h>
#include <Tavik/Core/Lifetime.h>
#include <Tavik/Core/String.h>
#include <Tavik/ObjectPath/Export.h>
#include <Tavik/ObjectPath/Layout.h>
#include <Tavik/ObjectPath/ObjectPathFwd.h>
#include <Tavik/ObjectPath/Version.h>

namespace Tavik {

/// An immutable, hierarchical name: zero or more segments from the root to the leaf, each with a name and a set of
/// attributes that is ordered by key. Names, keys and values may hold any bytes; no name has a special meaning, not
/// even "." and "..".
///
/// It is a regular value type of two pointers. Copying increments two reference counts; moving transfers them and
/// leaves the root path. Neither can fail. Destroying the last path that uses a node releases that node, which briefly
/// takes a lock. That uses constant stack space, however long the path is.
class TAVIK_OBJECT_PATH_EXPORT ObjectPath {
public:
    class Segments;
    class Views;
    struct View;

    /// The node of the leaf segment, which leads to the nodes of its ancestors; null for the root path.
    std::shared_ptr<const Impl::Segment> segment;

    /// The chain of the attribute values of all segments, the leaf's first; null when no segment has attributes.
    std::shared_ptr<const Impl::Value> values;

    /// @name Building
    /// @{

    /// This path with one more segment. Nothing is validated or escaped: strings are used verbatim. Another map's
    /// attributes are passed as `{map.begin(), map.end()}`. The cost depends on the strings, not on the length of this
    /// path; allocates nodes for content that no living path has. Throws `std::bad_alloc` and `std::system_error`.
    /// Briefly takes a lock for each attribute and one for the segment, one at a time; none for a node that this thread
    /// found recently.
    [[nodiscard]] ObjectPath append(std::string_view name, const absl::btree_map<String, String>& attributes) const;

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

    /// This path with `replacement` in place of its ancestor `base`, which may be this path itself: what is below
    /// `base` comes to be below `replacement`. Empty when this path does not start with `base`. Has the cost,
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
    /// @name Planning
    /// @{

    /// Makes room for `segments` segment nodes and `values` value nodes in the process, living nodes included. As long
    /// as there are no more, the tables of nodes neither grow nor shrink, so no thread waits for a table to do so. Each
    /// call replaces the numbers of the last one, and `reserve(0, 0)` takes the reservation back. If a table has less
    /// room, moves its entries under the table's lock, which is the pause that is saved later on. A reserved segment
    /// takes at most 292 bytes and a value 196, of which pages count only once they are used. Throws `std::bad_alloc`
    /// with nothing changed, and `std::system_error`. Since 1.3.
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

    /// Whether this path, read as a pattern, has a segment "..." or "*" without attributes, or a value "*". A pattern
    /// without wildcards selects only paths that have all its names and attributes. Walks to the root. Since 1.2.
    [[nodiscard]] bool hasWildcards() const noexcept;

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
    /// @}
    /// @name Hooks for other libraries
    /// None of these needs a header of the other library.
    /// @{

    /// Hashes two pointers, so the hash of a path may differ from process to process.
    template <typename H>
    friend H AbslHashValue(H state, const ObjectPath& path) {
        return H::combine(std::move(state), path.segment, path.values);
    }

    /// Hashes for `boost::hash`, with the result of `std::hash`: the same in all libraries of a process. Since 1.3.
    [[nodiscard]] friend std::size_t hash_value(const ObjectPath& path) noexcept {
        constexpr std::uint64_t factor = 0x9e37'79b9'7f4a'7c15;  // spreads low bits over the high ones
        const auto mix = [](std::uint64_t word) { return (word ^ word >> 32) * factor; };
        const std::uint64_t shape = mix(reinterpret_cast<std::uintptr_t>(path.segment.get()));
        const std::uint64_t mixed = mix(shape + reinterpret_cast<std::uintptr_t>(path.values.get()));
        return mixed ^ mixed >> 32;
    }

    /// Writes the canonical text to an Abseil sink. Has the cost and exceptions of `toString`. Since 1.1.
    template <typename Sink>
    friend void AbslStringify(Sink& sink, const ObjectPath& path) {
        AbslStringify(sink, path.toString());
    }

    /// Reads the value of a flag of Abseil, which must be the text of a path. Since 1.3.
    template <typename Text>
    friend bool AbslParseFlag(Text text, ObjectPath* path, std::string* error);

    /// The canonical text, as the value of a flag of Abseil. Throws `std::bad_alloc`. Since 1.3.
    [[nodiscard]] friend std::string AbslUnparseFlag(const ObjectPath& path) {
        return path.toString().str();
    }

    /// Writes the canonical text to a JSON value of the nlohmann library. Throws `std::bad_alloc`. Since 1.3.
    template <typename Json>
    friend std::void_t<typename Json::string_t> to_json(Json& json, const ObjectPath& path) {
        json = path.toString().str();
    }

    /// Reads a path from a JSON value of the nlohmann library. Throws the error of that library if the value is no
    /// string, and `ObjectPathError` if the string is not the text of a path. Since 1.3.
    template <typename Json>
    friend std::void_t<typename Json::string_t> from_json(const Json& json, ObjectPath& path);

    /// @}
};

/// The attributes of one segment: a forward range of pairs of references to key and value, in ascending order of the
/// keys, for `for (const auto& [key, value] : segment.attributeRange())`. It owns nothing, and is valid as long as the
/// segment, or the path it was taken from, is neither destroyed nor assigned to. Since 1.2.
class ObjectPathAttributeRange {
public:
    /// An iterator, valid as long as the range is. Dereferencing gives a pair by value.
    class iterator {
        struct Arrow;

    public:
        /// The types that a standard iterator names. The category is that of C++17, whose forward iterators give
        /// references.
        /// @{
        using value_type = std::pair<const String&, const String&>;
        using reference = value_type;
        using pointer = Arrow;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::input_iterator_tag;
        using iterator_concept = std::forward_iterator_tag;
        /// @}

        /// An iterator of no range.
        iterator() noexcept = default;

        /// The key and the value.
        [[nodiscard]] reference operator*() const noexcept;
        /// A member of the pair: `first` is the key, `second` the value. Since 1.3.
        [[nodiscard]] pointer operator->() const noexcept;
        /// Steps to the next attribute.
        /// @{
        iterator& operator++() noexcept;
        iterator operator++(int) noexcept {
            const iterator before = *this;
            ++*this;
            return before;
        }
        /// @}
        /// Whether both are at the same attribute.
        [[nodiscard]] friend bool operator==(const iterator& left, const iterator& right) noexcept {
            return left.key_ == right.key_;
        }
        /// The opposite of `==`.
        [[nodiscard]] friend bool operator!=(const iterator& left, const iterator& right) noexcept {
            return left.key_ != right.key_;
        }

    private:
        friend class ObjectPathAttributeRange;
        iterator(const String* key, const Impl::Value* value) noexcept : key_(key), value_(value) {}

        const String* key_ = nullptr;
        const Impl::Value* value_ = nullptr;
    };
    /// The names of a standard range.
    /// @{
    using const_iterator = iterator;
    using value_type = iterator::value_type;
    /// @}

    /// The attributes with the given keys, whose values are the first ones of the chain `values`.
    ObjectPathAttributeRange(const std::vector<String>& keys, const Impl::Value* values) noexcept
        : keys_(&keys), values_(values) {}

    /// An iterator at the first attribute.
    [[nodiscard]] iterator begin() const noexcept { return {keys_->data(), values_}; }
    /// An iterator past the last attribute.
    [[nodiscard]] iterator end() const noexcept { return {keys_->data() + keys_->size(), nullptr}; }
    /// The number of attributes.
    [[nodiscard]] std::size_t size() const noexcept { return keys_->size(); }
    /// Whether there are none.
    [[nodiscard]] bool empty() const noexcept { return keys_->empty(); }

private:
    const std::vector<String>* keys_;
    const Impl::Value* values_;
};

/// The result of `->` of an iterator: holds the pair, which is nowhere in memory for a pointer to refer to.
struct ObjectPathAttributeRange::iterator::Arrow {
    /// References to the key and the value.
    value_type pair;
    /// The pair. Valid as long as this object: until the end of the expression that has the `->`.
    [[nodiscard]] const value_type* operator->() const noexcept { return &pair; }
};

/// One segment of a path, a name and attributes, as `ObjectPath::leaf` and `ObjectPath::explode` return it.
///
/// It owns what it refers to, so it may outlive the path it was taken from. A copy increments two reference counts.
/// A segment that was default-constructed or moved from has no node: every use but assignment and comparison is a fatal
/// assertion.
struct TAVIK_OBJECT_PATH_EXPORT ObjectPathSegment {
    /// The node with the name and the attribute keys. Never null in a segment that the library returns.
    std::shared_ptr<const Impl::Segment> segment;

    /// The chain of attribute values, one node for each value. Its first `segment->attributeKeys.size()` nodes hold the
    /// values of this segment, in the order of the keys; the nodes after them belong to the enclosing segments.
    std::shared_ptr<const Impl::Value> values;

    /// The name. Valid as long as this segment, or the path it was taken from, is neither destroyed nor assigned to.
    /// Since 1.1.
    [[nodiscard]] const String& name() const noexcept TAVIK_LIFETIMEBOUND;

    /// The value of the attribute with the given key; null when there is none. Compares the keys one by one. Valid as
    /// long as the result of `name` is. Since 1.1.
    [[nodiscard]] const String* attribute(std::string_view key) const noexcept TAVIK_LIFETIMEBOUND;

    /// The attributes as pairs of references to key and value, in ascending order of the keys. Valid as long as the
    /// result of `name` is. Since 1.2.
    [[nodiscard]] ObjectPathAttributeRange attributeRange() const noexcept TAVIK_LIFETIMEBOUND;

    /// The attributes as a map of their own. Allocates the map and a copy of every string of more than 15 bytes. Throws
    /// `std::bad_alloc`.
    [[nodiscard]] absl::btree_map<String, String> attributes() const;

    /// The segment as it appears in the canonical text of a path, such as dev[bus=pci][id=3]. Linear in the text; its
    /// string allocates for more than 15 bytes. Since 1.1.
    [[nodiscard]] String toString() const noexcept;

    /// Whether both have the same name and the same attributes, whatever encloses them. Linear in their strings;
    /// constant time when both refer to the same nodes. Since 1.1.
    [[nodiscard]] friend bool operator==(const ObjectPathSegment& left, const ObjectPathSegment& right) noexcept {
        return left.equals(right);
    }
    /// The opposite of `==`.
    [[nodiscard]] friend bool operator!=(const ObjectPathSegment& left, const ObjectPathSegment& right) noexcept {
        return !left.equals(right);
    }

    /// Writes `toString()` to an Abseil sink. Since 1.1.
    template <typename Sink>
    friend void AbslStringify(Sink& sink, const ObjectPathSegment& self) {
        AbslStringify(sink, self.toString());
    }

private:
    friend class ObjectPath;
    [[nodiscard]] bool equals(const ObjectPathSegment& other) const noexcept;
    [[nodiscard]] const Impl::Segment& node(const char* function) const noexcept;
};

/// The segments of a path, as a range that runs from the first segment to the leaf. It owns its segments, so it may
/// outlive the path it was taken from. References and iterators are valid until it is destroyed or assigned to.
class ObjectPath::Segments {
    using Storage = boost::container::small_vector<ObjectPathSegment, 10>;

public:
    /// The types that a standard container names.
    /// @{
    using value_type = ObjectPathSegment;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using const_reference = const ObjectPathSegment&;
    using reference = const_reference;
    using const_iterator = Storage::const_reverse_iterator;
    using iterator = const_iterator;
    /// @}

    /// An iterator at the first segment, the one next to the root.
    [[nodiscard]] const_iterator begin() const noexcept TAVIK_LIFETIMEBOUND { return leafFirst_.rbegin(); }
    /// An iterator past the leaf.
    [[nodiscard]] const_iterator end() const noexcept TAVIK_LIFETIMEBOUND { return leafFirst_.rend(); }

    /// The number of segments.
    [[nodiscard]] std::size_t size() const noexcept { return leafFirst_.size(); }
    /// Whether there are none, as in the root path.
    [[nodiscard]] bool empty() const noexcept { return leafFirst_.empty(); }

    /// The first segment, the one next to the root, which is not `[0]`. It is a fatal assertion if there is none.
    [[nodiscard]] const ObjectPathSegment& front() const noexcept TAVIK_LIFETIMEBOUND {
        return at(size() - 1, "front");
    }
    /// The last segment, the leaf. It is a fatal assertion if there is none.
    [[nodiscard]] const ObjectPathSegment& back() const noexcept TAVIK_LIFETIMEBOUND { return at(0, "back"); }

    /// The segment `index` steps from the leaf towards the root: `[0]` is the leaf, `back()`, against the order of
    /// iteration. An index at or beyond `size()` is a fatal assertion.
    [[nodiscard]] const ObjectPathSegment& operator[](std::size_t index) const noexcept TAVIK_LIFETIMEBOUND {
        return at(index, "operator[]");
    }

private:
    friend class ObjectPath;

    [[nodiscard]] const ObjectPathSegment& at(std::size_t index, const char* function) const noexcept {
        if (index >= size()) {
            const std::size_t count = size();
            Impl::vfmassertb("", __FILE__, function, __LINE__, "segment index out of range: there are {} segments",
                             fmt::make_format_args(count));
        }
        return leafFirst_[index];
    }

    Storage leafFirst_;
};

/// A cursor in a path: a position from which to step towards the root without changing reference counts. It owns
/// nothing, and is valid until the path it was taken from is destroyed or assigned to; so is what its members return
/// by reference. At the root, it is a fatal assertion to ask for a segment or to step further.
struct ObjectPath::View {
    /// The pointer to the node at this level: the `segment` of the path or the `parent` of a node. What it points to is
    /// null at the root.
    const std::shared_ptr<const Impl::Segment>* segment;

    /// The pointer to the value chain at this level: the `values` of the path or the `previous` of a node.
    const std::shared_ptr<const Impl::Value>* values;

    /// Whether the cursor has left the first segment and is at the root. Since 1.2.
    [[nodiscard]] bool isRoot() const noexcept { return *segment == nullptr; }

    /// The name of the segment. Since 1.2.
    [[nodiscard]] const String& name() const noexcept;

    /// The value of the attribute with the given key; null when there is none. Compares the keys one by one. Since 1.2.
    [[nodiscard]] const String* attribute(std::string_view key) const noexcept;

    /// The attributes as pairs of references to key and value, in ascending order of the keys. Since 1.2.
    [[nodiscard]] ObjectPathAttributeRange attributeRange() const noexcept;

    /// The path that ends at this cursor. Increments two reference counts. Since 1.2.
    [[nodiscard]] ObjectPath path() const noexcept { return {*segment, *values}; }

    /// The cursor one level closer to the root. Walks the attributes of this level.
    [[nodiscard]] View parent() const noexcept;

private:
    friend class ObjectPath;
    [[nodiscard]] const Impl::Segment& node(const char* function) const noexcept;

    /// The cursor `count` levels closer to the root.
    [[nodiscard]] View ancestor(std::size_t count) const noexcept;
};

/// Cursors at all segments of a path, as a range that runs from the first segment to the leaf: the result of
/// `ObjectPath::views`. It owns its cursors but no nodes, so they are valid until the path is destroyed or assigned to.
/// Iterators are valid until the range is destroyed or assigned to. Since 1.3.
class ObjectPath::Views {
public:
    /// The types that a standard container names.
    /// @{
    using value_type = View;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using const_reference = const View&;
    using reference = const_reference;
    using const_iterator = const View*;
    using iterator = const_iterator;
    /// @}

    /// A pointer to the cursor at the first segment, the one next to the root.
    [[nodiscard]] const_iterator begin() const noexcept TAVIK_LIFETIMEBOUND { return rootFirst_.data(); }
    /// A pointer past the cursor at the leaf.
    [[nodiscard]] const_iterator end() const noexcept TAVIK_LIFETIMEBOUND { return begin() + size(); }

    /// The number of segments.
    [[nodiscard]] std::size_t size() const noexcept { return rootFirst_.size(); }
    /// Whether there are none, as in the root path.
    [[nodiscard]] bool empty() const noexcept { return rootFirst_.empty(); }

private:
    friend class ObjectPath;

    boost::container::small_vector<View, 10> rootFirst_;
};

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

/// Options of `ObjectPath::toString`. The defaults give the canonical text, the one that the parser reads back. Set
/// fields by their names; there will be no further ones before version 2.
struct ObjectPathStringConfig {
    /// Whether the text begins with `separator`. Without it, the text of the root path is empty.
    bool leadingSeparator = true;

    /// The text between segments. Any string, including the empty one. Not owned: it must outlive the call.
    /// Names are escaped for "/" whatever the separator is.
    std::string_view separator = "/";

    /// The number of segments, counted from the root, that are left out. When none remains, the text is empty. The root
    /// path ignores it.
    std::size_t skipSegments = 0;

    /// Whether names are written with a backslash before each "[", "/" and backslash.
    bool escapeNames = true;

    /// Whether keys are written with a backslash before each "=" and backslash.
    bool escapeAttributeKeys = true;

    /// Whether values are written with a backslash before each "]" and backslash.
    bool escapeAttributeValues = true;
};

/// Writes the canonical text to `out`; width and fill of the stream apply. Throws what the stream and
/// `ObjectPath::toString` throw.
/// @relatesalso ObjectPath
TAVIK_OBJECT_PATH_EXPORT std::ostream& operator<<(std::ostream& out, const ObjectPath& path);

/// Writes the segment as it appears in the canonical text of a path; width and fill of the stream apply. Throws what
/// the stream throws. Since 1.1.
TAVIK_OBJECT_PATH_EXPORT std::ostream& operator<<(std::ostream& out, const ObjectPathSegment& segment);

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

/// Reads a path from a string that the program knows to be valid, such as a literal: malformed text is a fatal
/// assertion. Has the cost and locks of `tryParseObjectPath`.
/// @relatesalso ObjectPath
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT ObjectPath parseObjectPath(std::string_view text) noexcept;

/// Thrown for a string that is not the text of a path. `what()` is the message of `tryParseObjectPath`, which a NUL
/// in the string may cut short. Since 1.3.
class TAVIK_OBJECT_PATH_EXPORT ObjectPathError : public std::runtime_error {
public:
    /// An error at the byte `offset` of the text. Throws `std::bad_alloc`.
    ObjectPathError(std::string_view message, std::size_t offset);

    /// Copies share the message, so they never throw.
    /// @{
    ObjectPathError(const ObjectPathError& other) noexcept = default;
    ObjectPathError& operator=(const ObjectPathError& other) noexcept = default;
    /// @}
    ~ObjectPathError() override;

    /// The place of the error, as `tryParseObjectPath` gives it.
    [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

private:
    std::size_t offset_;
};

/// Reads a path from untrusted input for callers that handle errors further up, as while a file is loaded. Throws
/// `ObjectPathError` if `text` is not a path. Has the cost and locks of `tryParseObjectPath`. Since 1.3.
/// @relatesalso ObjectPath
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT ObjectPath parseObjectPathOrThrow(std::string_view text);

/// What paths are made of. Programs may look at nodes and tables; only the library changes them.
namespace Impl {

/// One level of the shape of a path: the name and the attribute keys of a segment, without the values. Interned: equal
/// content is the same node, so nodes are compared by pointer. Never changes once interned.
struct Segment {
    /// The name, unescaped.
    String name;

    /// The keys in ascending order, without duplicates; as many values belong to this level in the value chain.
    std::vector<String> attributeKeys;

    /// The node of the enclosing segment; null for a first segment.
    std::shared_ptr<const Segment> parent;

    /// Whether this is the wildcard for zero or more segments: the name is "..." and there are no attributes.
    [[nodiscard]] TAVIK_OBJECT_PATH_EXPORT bool isAnySequence() const noexcept;

    /// Compares links by pointer, which suffices because the linked nodes are interned themselves.
    [[nodiscard]] friend bool operator==(const Segment& left, const Segment& right) noexcept {
        return left.name == right.name && left.attributeKeys == right.attributeKeys && left.parent == right.parent;
    }
    /// Hashes strings under the key of the process, and the link as a pointer.
    template <typename H>
    friend H AbslHashValue(H state, const Segment& node) {
        state = H::combine(std::move(state), node.name.keyedHash());
        for (const String& key : node.attributeKeys) {
            state = H::combine(std::move(state), key.keyedHash());
        }
        return H::combine(std::move(state), reinterpret_cast<std::uintptr_t>(node.parent.get()));
    }
};

/// One attribute value in the value chain of a path. Interned like `Segment`. It knows neither its key nor its segment,
/// so paths of different shape share the nodes of equal chains.
struct Value {
    /// The value, unescaped.
    String value;

    /// The node that follows in the chain, created before this one: the value of the next key of the same segment, or
    /// for the last key, the first value of the closest ancestor with attributes; null at the end.
    std::shared_ptr<const Value> previous;

    /// Compares the link by pointer.
    [[nodiscard]] friend bool operator==(const Value& left, const Value& right) noexcept {
        return left.value == right.value && left.previous == right.previous;
    }
    /// Hashes the string under the key of the process, and the link as a pointer.
    template <typename H>
    friend H AbslHashValue(H state, const Value& node) {
        return H::combine(std::move(state), node.value.keyedHash(),
                          reinterpret_cast<std::uintptr_t>(node.previous.get()));
    }
};

/// The interning table of one node type: a map from the content of every living node to a weak reference to it. It owns
/// no node. All members are static and live in the library. They are part of the ABI and cannot change before
/// version 2.
template <typename T>
struct Dedup {
    /// Maps the content of a node to a weak reference to it, which has expired where the node is being released.
    using Table = absl::flat_hash_map<T, std::weak_ptr<const T>>;

    /// The table. A reference, because the table itself is never destroyed: paths may be released until the process has
    /// ended. Hold `mutex_` to read it unless no other thread can create or release paths. While holding it, do not
    /// create or release a path, nor lock a weak reference: releasing the node may then take `mutex_` again. Only count
    /// and iterate: a look-up hashes in the program, whose copy of Abseil may have a different seed than the library's.
    static Table& table_;

    /// Guards `table_` and the weak references in it.
    static std::mutex mutex_;

    /// The deleter of every `std::shared_ptr` to a node: removes the node's entry unless it already refers to a
    /// successor, then destroys the node; its memory is freed with the control block. The caller must not hold
    /// `mutex_`. A lock that fails terminates the process.
    static void deleter(const T* node);

    /// The living node equal to `key`, created when there is none. Attribute keys must be distinct and in ascending
    /// order. Throws `std::bad_alloc` and `std::system_error`. Briefly locks `mutex_`, which the caller must not hold.
    [[nodiscard]] static std::shared_ptr<const T> intern(T key);
};

// A program that instantiated these itself would have tables of its own.
extern template struct TAVIK_OBJECT_PATH_EXPORT Dedup<Segment>;
extern template struct TAVIK_OBJECT_PATH_EXPORT Dedup<Value>;

/// The live table of segments, not a copy; its size is the number of segment nodes that live or are being released.
/// Hold `Dedup<Segment>::mutex_` while other threads may create or release paths.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT const Dedup<Segment>::Table& inspectSegmentTable() noexcept;

/// The live table of attribute values, not a copy; its size is the number of value nodes that live or are being
/// released. Hold `Dedup<Value>::mutex_` while other threads may create or release paths.
[[nodiscard]] TAVIK_OBJECT_PATH_EXPORT const Dedup<Value>::Table& inspectValueTable() noexcept;

/// The value of the attribute of `node` with the given key, where `value` is its first one; null when there is none.
[[nodiscard]] inline const String* findAttribute(const Segment& node,
                                                 const Value* value,
                                                 std::string_view key) noexcept {
    for (const String& candidate : node.attributeKeys) {
        if (candidate == key) {
            return &value->value;
        }
        value = value->previous.get();
    }
    return nullptr;
}

}  // namespace Impl

inline ObjectPathAttributeRange::iterator::reference ObjectPathAttributeRange::iterator::operator*() const noexcept {
    return {*key_, value_->value};
}

inline ObjectPathAttributeRange::iterator& ObjectPathAttributeRange::iterator::operator++() noexcept {
    ++key_;
    value_ = value_->previous.get();
    return *this;
}

inline ObjectPathAttributeRange::iterator::pointer ObjectPathAttributeRange::iterator::operator->() const noexcept {
    return {**this};
}

inline const Impl::Segment& ObjectPathSegment::node(const char* function) const noexcept {
    if (segment == nullptr) {
        Impl::vfmassertb("", __FILE__, function, __LINE__, "unexpected empty segment", {});
    }
    return *segment;
}

inline const String& ObjectPathSegment::name() const noexcept {
    return node("name").name;
}

inline const String* ObjectPathSegment::attribute(std::string_view key) const noexcept {
    return Impl::findAttribute(node("attribute"), values.get(), key);
}

inline ObjectPathAttributeRange ObjectPathSegment::attributeRange() const noexcept {
    return {node("attributeRange").attributeKeys, values.get()};
}

inline bool ObjectPathSegment::equals(const ObjectPathSegment& other) const noexcept {
    if (segment == other.segment && values == other.values) {
        return true;
    }
    if (segment == nullptr || other.segment == nullptr || segment->name != other.segment->name ||
        segment->attributeKeys != other.segment->attributeKeys) {
        return false;
    }
    const Impl::Value* left = values.get();
    const Impl::Value* right = other.values.get();
    for (std::size_t count = segment->attributeKeys.size(); count > 0 && left != right; --count) {
        if (left->value != right->value) {
            return false;
        }
        left = left->previous.get();
        right = right->previous.get();
    }
    return true;
}

inline const Impl::Segment& ObjectPath::View::node(const char* function) const noexcept {
    if (isRoot()) {
        Impl::vfmassertb("", __FILE__, function, __LINE__, "unexpected root path", {});
    }
    return **segment;
}

inline const String& ObjectPath::View::name() const noexcept {
    return node("name").name;
}

inline const String* ObjectPath::View::attribute(std::string_view key) const noexcept {
    return Impl::findAttribute(node("attribute"), values->get(), key);
}

inline ObjectPathAttributeRange ObjectPath::View::attributeRange() const noexcept {
    return {node("attributeRange").attributeKeys, values->get()};
}

inline ObjectPath::View ObjectPath::View::parent() const noexcept {
    const Impl::Segment& level = node("parent");
    const std::shared_ptr<const Impl::Value>* outer = values;
    for (std::size_t count = level.attributeKeys.size(); count > 0; --count) {
        outer = &(*outer)->previous;
    }
    return {&level.parent, outer};
}

inline ObjectPath::View ObjectPath::View::ancestor(std::size_t count) const noexcept {
    View view = *this;
    for (; count > 0; --count) {
        view = view.parent();
    }
    return view;
}

inline std::size_t ObjectPath::depth() const noexcept {
    std::size_t count = 0;
    for (const Impl::Segment* level = segment.get(); level != nullptr; level = level->parent.get()) {
        ++count;
    }
    return count;
}

inline ObjectPath ObjectPath::prefix(std::size_t count) const noexcept {
    const std::size_t last = depth();
    return View{&segment, &values}.ancestor(last > count ? last - count : 0).path();
}

inline ObjectPath ObjectPath::commonPrefix(const ObjectPath& other) const noexcept {
    const std::size_t leftDepth = depth();
    const std::size_t rightDepth = other.depth();
    const std::size_t shared = leftDepth < rightDepth ? leftDepth : rightDepth;
    View left = View{&segment, &values}.ancestor(leftDepth - shared);
    View right = View{&other.segment, &other.values}.ancestor(rightDepth - shared);
    while (*left.segment != *right.segment || *left.values != *right.values) {
        left = left.parent();
        right = right.parent();
    }
    return left.path();
}

inline std::optional<ObjectPath> ObjectPath::relativeTo(const ObjectPath& base) const {
    return replacePrefix(base, ObjectPath());
}

// Friends, which are described in their class.
/// @cond
template <typename Text>
bool AbslParseFlag(Text text, ObjectPath* path, std::string* error) {
    auto result = tryParseObjectPath(std::string_view(text.data(), text.size()));
    if (const auto* const message = std::get_if<String>(&result)) {
        *error = message->str();
        return false;
    }
    *path = std::get<ObjectPath>(std::move(result));
    return true;
}

template <typename Json>
std::void_t<typename Json::string_t> from_json(const Json& json, ObjectPath& path) {
    const auto text = json.template get<typename Json::string_t>();
    path = parseObjectPathOrThrow(std::string_view(text.data(), text.size()));
}
/// @endcond

static_assert(sizeof(ObjectPath) == 2 * sizeof(std::shared_ptr<const void>));
static_assert(std::is_nothrow_move_constructible_v<ObjectPath> && std::is_nothrow_move_assignable_v<ObjectPath>);
static_assert(std::is_nothrow_copy_constructible_v<ObjectPath> && std::is_nothrow_copy_assignable_v<ObjectPath>);
static_assert(std::is_nothrow_move_constructible_v<Impl::Segment> && std::is_nothrow_move_constructible_v<Impl::Value>);

}  // namespace Tavik

/// Hashes two pointers, in the same way in all libraries of a process.
template <>
struct std::hash<Tavik::ObjectPath> {
    std::size_t operator()(const Tavik::ObjectPath& path) const noexcept { return hash_value(path); }
};

#ifdef __cpp_lib_ranges
/// Let the adaptors of ranges take a range of attributes from a temporary, and copy it. Since 1.3.
/// @{
template <>
inline constexpr bool std::ranges::enable_view<Tavik::ObjectPathAttributeRange> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<Tavik::ObjectPathAttributeRange> = true;
/// @}
#endif

/// Formats a path as its canonical text; width, fill and alignment apply as for any string.
template <>
struct fmt::formatter<Tavik::ObjectPath> : Tavik::Impl::TextFormatter<fmt::formatter<std::string_view>> {};

/// Formats a segment as it appears in the canonical text of a path.
template <>
struct fmt::formatter<Tavik::ObjectPathSegment> : Tavik::Impl::TextFormatter<fmt::formatter<std::string_view>> {};

#ifdef __cpp_lib_format
template <>
struct std::formatter<Tavik::ObjectPath> : Tavik::Impl::TextFormatter<std::formatter<std::string_view>> {};

template <>
struct std::formatter<Tavik::ObjectPathSegment> : Tavik::Impl::TextFormatter<std::formatter<std::string_view>> {};
#endif
