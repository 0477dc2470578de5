/// @file
/// Internal: an insertion into a hash table of Abseil cannot allocate, and so cannot fail, while the table is not full.
///
/// What is relied upon, in all series since 20220623:
/// - A table of more than 16 slots allocates only when more than 25/32 of its slots are in use (see `isFull`).
/// - A table that cannot allocate while it grows is left unusable, and so is one whose entry cannot be constructed. So
///   whatever may throw happens to a spare table or before the table is touched.
/// - `merge` into a table that has room, `swap` and `erase` never throw.

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

/// An empty table of a given size, to which the entries of another one are moved before both are swapped.
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

/// The number of slots from which on rehashing a table in place takes several milliseconds.
inline constexpr std::size_t hugeTable = 500'000;

/// Whether a table is large, and so few of its slots are in use that its entries should move to a smaller one.
template <typename Table>
[[nodiscard]] bool isNearlyEmpty(const Table& table) noexcept {
    constexpr std::size_t large = 4'096;
    const std::size_t slots = table.bucket_count();
    return slots >= large && table.size() < slots / 16;
}

/// Moves the entries of a nearly empty table to a smaller one, of at least `reserved` slots. Returns whether it did.
/// Without memory for that, the table stays as it is.
///
/// The smaller table is a quarter full, so it neither grows nor shrinks again before many entries have come or gone:
/// each erased entry pays for moving at most a third of another one.
template <typename Table>
bool shrink(Table& table, std::size_t reserved) noexcept {
    if (table.bucket_count() <= reserved) {
        return false;
    }
    try {
        rebuild(table, std::max(4 * table.size(), reserved));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Whether a table must be rebuilt before another entry is inserted, when `used` slots are in use.
///
/// Newer series leave five slots out of the 25/32. In a table that is not full, an insertion at most rehashes in place,
/// to drop the tombstones of erased entries. Only under the address sanitizer do newer series also rehash at random,
/// into new memory, to find bugs in programs.
[[nodiscard]] inline bool isFull(std::size_t slots, std::size_t used) noexcept {
    constexpr std::size_t leftOut = 5;
    return std::uint64_t{used} * 32 > std::uint64_t{slots - leftOut} * 25;
}

/// The fewest slots of a table that has entries: the first size of more than 16.
inline constexpr std::size_t fewestSlots = 31;

/// Makes the next insertion free of allocation. Returns whether the table was rebuilt for that. Throws
/// `std::bad_alloc`, with the table unchanged.
template <typename Table>
bool makeRoomForOne(Table& table) {
    const std::size_t slots = table.bucket_count();
    if (slots < fewestSlots) {
        rebuild(table, fewestSlots);
    } else if (isFull(slots, table.size())) {
        rebuild(table, 2 * slots + 1);
    } else {
        return false;
    }
    return true;
}

}  // namespace Tavik::Impl
