/// @file
/// What the interning tables have to know about Abseil's hash map: where one lives that is never destroyed, how an
/// entry is found by a known hash, and when an insertion cannot fail.

#pragma once

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

/// Moves all entries to a table of at least `slots` slots. Throws `std::bad_alloc`, with the table unchanged.
///
/// A hash map that cannot allocate while it grows is left unusable, so another one is filled and swapped in.
template <typename Table>
void rebuild(Table& table, std::size_t slots) {
    // When the other table cannot be allocated, its destructor would free memory that was never allocated, so it must
    // not run.
    TableStorage<Table> storage;
    Table& other = *new (&storage.table) Table;
    other.rehash(slots);
    other.merge(table);
    table.swap(other);
    other.~Table();
}

/// Moves the entries of a large table that has become nearly empty to a smaller one. Without memory for that, the table
/// stays as it is.
///
/// The smaller table is a quarter full, so it neither grows nor shrinks again before many entries have come or gone:
/// each erased entry pays for moving less than a tenth of another one.
template <typename Table>
void shrinkIfNearlyEmpty(Table& table) noexcept {
    constexpr std::size_t large = 4'096;
    const std::size_t slots = table.bucket_count();
    if (slots < large || table.size() >= slots / 16) {
        return;
    }
    try {
        rebuild(table, slots / 4);
    } catch (const std::bad_alloc&) {
        // It stays large.
    }
}

/// Makes the next insertion free of allocation, which is what makes it free of failure. Throws `std::bad_alloc`, with
/// the table unchanged.
///
/// An insertion into a table of more than 16 slots allocates only when more than 25/32 of the slots are in use. Newer
/// series of Abseil leave five slots out of that number. Below it, an insertion at most rehashes in place, to drop the
/// tombstones of erased entries. Only under the address sanitizer do newer series also rehash at random, into new
/// memory, to find bugs in programs.
template <typename Table>
void makeRoomForOne(Table& table) {
    constexpr std::size_t smallest = 31;
    constexpr std::size_t leftOut = 5;
    const std::size_t slots = table.bucket_count();
    if (slots < smallest) {
        rebuild(table, smallest);
    } else if (std::uint64_t{table.size()} * 32 > std::uint64_t{slots - leftOut} * 25) {
        rebuild(table, 2 * slots + 1);
    }
}

}  // namespace Tavik::Impl
