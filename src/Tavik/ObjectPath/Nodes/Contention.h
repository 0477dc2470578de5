/// @file
/// Internal: whether this thread met others at the lock of a table a short while ago.

#pragma once

#include <algorithm>

namespace Tavik::Impl {

/// A budget of look-ups that search the cache that all threads share, before they lock a table.
///
/// Sharing is worth its cost only where threads wait for each other. So a thread begins a short trial when it finds a
/// lock taken, and each node that it finds during the trial extends it. A thread that mostly creates nodes finds few:
/// its trial ends soon, and for a while it does not begin another one. A thread that never meets others never begins.
class Contention {
public:
    /// Whether the next look-up searches the shared cache, which uses up a part of the budget.
    [[nodiscard]] static bool takesShared() noexcept { return budget != 0 && spend(); }

    /// Whether a node that was just found belongs into the shared cache.
    [[nodiscard]] static bool isOnTrial() noexcept { return budget > 0; }

    /// Notes that a lock was taken.
    static void noteWait() noexcept { budget = budget == 0 ? firstLookups : budget; }

    /// Notes that the node of a look-up was alive, in the shared cache or in the table.
    static void noteFound() noexcept {
        if (budget > 0) {
            budget = std::min(budget + lookupsForEachFound, mostLookups);
        }
    }

private:
    static constexpr int firstLookups = 64;
    static constexpr int lookupsForEachFound = 2;
    static constexpr int mostLookups = 4'096;
    static constexpr int lookupsWithoutTrial = 2'048;

    [[nodiscard]] static bool spend() noexcept {
        if (budget < 0) {
            ++budget;
            return false;
        }
        if (--budget == 0) {
            budget = -lookupsWithoutTrial;
        }
        return true;
    }

    /// Positive: the look-ups that are left to the trial. Negative: those until another one may begin.
    static constinit inline thread_local int budget = 0;
};

}  // namespace Tavik::Impl
