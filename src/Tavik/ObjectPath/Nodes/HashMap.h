/// @file
/// Internal: what the library has to know about Abseil's hash tables: where one lives that is never destroyed, how an
/// entry is found by a known hash, and when an insertion cannot fail.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

#include <absl/base/config.h>

namespace Tavik::Impl {

/// Storage of a table that is never destroyed, or only explicitly: the destructor of the storage does nothing.
template <typename Table>
union TableStorage {
    constexpr TableStorage() noexcept : none{} {}
    ~TableStorage() {}

    char none;
    Table table;
};

#if defined(ABSL_LTS_RELEASE_VERSION) && ABSL_LTS_RELEASE_VERSION <= 20240722
inline constexpr bool findsByHash = true;
#else  // Newer series deprecate the overload that takes the hash.
inline constexpr bool findsByHash = false;
#endif

/// The entry with the given content, or the end of the table.
template <typename Table>
typename Table::iterator findEntry(Table& table,
                                   const typename Table::key_type& content,
                                   [[maybe_unused]] std::size_t hash) {
    if constexpr (findsByHash) {
        return table.find(content, hash);
    } else {
        return table.find(content);
    }
}

/// An empty table of a given size, to move the entries of another one to.
///
/// A hash table that cannot allocate while it grows is left unusable, so another one is filled and swapped in.
template <typename Table>
class SpareTable {
public:
    /// A table of at least `slots` slots. Throws `std::bad_alloc`; the destructor, which would then free memory that
    /// was never allocated, does not run.
    explicit SpareTable(std::size_t slots) { (new (&storage_.table) Table)->rehash(slots); }
    SpareTable(const SpareTable&) = delete;
    SpareTable& operator=(const SpareTable&) = delete;
    ~SpareTable() { storage_.table.~Table(); }

    [[nodiscard]] std::size_t slots() const noexcept { return storage_.table.bucket_count(); }

    /// Moves all entries of `table` here, for which there must be room, and swaps both.
    void replace(Table& table) noexcept {
        storage_.table.merge(table);
        table.swap(storage_.table);
    }

private:
    TableStorage<Table> storage_;
};

/// Moves all entries to a table of at least `slots` slots. Throws `std::bad_alloc`, with the table unchanged.
template <typename Table>
void rebuild(Table& table, std::size_t slots) {
    SpareTable<Table>(slots).replace(table);
}

/// The number of slots from which on a table is large: it is worth shrinking, and rehashing it takes a while.
inline constexpr std::size_t largeTable = 4'095;

/// Moves the entries of a large table that has become nearly empty to a smaller one, of at least `reserved` slots.
/// Returns whether it did. Without memory for that, the table stays as it is.
///
/// The smaller table is at most a quarter full, so it neither grows nor shrinks again before many entries have come or
/// gone: each erased entry pays for moving at most a third of another one.
template <typename Table>
bool shrinkIfNearlyEmpty(Table& table, std::size_t reserved = 0) noexcept {
    const std::size_t slots = table.bucket_count();
    if (slots < largeTable || table.size() >= slots / 16 || slots <= reserved) {
        return false;
    }
    try {
        rebuild(table, std::max(slots / 4, reserved));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Makes the next insertion free of allocation, which is what makes it free of failure. Returns whether the table was
/// rebuilt for that. `erased` is the number of entries that were erased since then. Throws `std::bad_alloc`, with the
/// table unchanged.
///
/// An insertion into a table of more than 16 slots allocates only when more than 25/32 of the slots are in use. Newer
/// series of Abseil leave five slots out of that number. Below it, an insertion at most rehashes in place, to drop the
/// tombstones of erased entries. Only under the address sanitizer do newer series also rehash at random, into new
/// memory, to find bugs in programs.
///
/// Rehashing in place takes nearly as long as growing, and where more than half of the slots are in use, it comes again
/// and again: an erased entry leaves a tombstone where its neighbours fill a whole group of slots. So a large table that
/// is half full and may be due for it grows instead; after that, hardly any entry leaves a tombstone.
template <typename Table>
bool makeRoomForOne(Table& table, std::size_t erased = 0) {
    constexpr std::size_t smallest = 31;
    constexpr std::size_t leftOut = 5;
    const std::size_t slots = table.bucket_count();
    if (slots < smallest) {
        rebuild(table, smallest);
        return true;
    }
    const auto fills = [slots](std::uint64_t used) { return used * 32 > std::uint64_t{slots - leftOut} * 25; };
    const bool isHalfFull = 2 * table.size() > slots;
    if (fills(table.size()) || (slots >= largeTable && isHalfFull && fills(table.size() + erased))) {
        rebuild(table, 2 * slots + 1);
        return true;
    }
    return false;
}

}  // namespace Tavik::Impl
