/// @file
/// Internal: whether a thread that found the lock of a table taken searches the found nodes of all threads first.

#pragma once

namespace Tavik::Impl {

/// Searching the found nodes costs each look-up that finds nothing there a cache miss, and entering nodes and taking
/// them out again costs more. That pays where threads would wait for each other. So a thread begins a trial of a few
/// look-ups when it finds a lock taken. The trial is renewed, for longer, if enough of its look-ups found a node there,
/// or in the table after the thread met others again, so that it will be found there from now on. Otherwise the thread
/// begins no other one for a while. A thread that meets no others never begins, and one that mostly creates nodes soon
/// gives up.
class Trial {
public:
    /// Whether the next look-up searches the found nodes. It counts as one of the trial.
    [[nodiscard]] static bool takesLookup() noexcept { return state.left != 0 && spend(); }

    /// Whether a node that this thread found in the table should be entered.
    [[nodiscard]] static bool isOn() noexcept { return state.left > 0; }

    /// Notes that another thread held the lock.
    static void noteWait() noexcept {
        if (state.left == 0) {
            begin(firstLookups);
        }
        state.metOthers = true;
    }

    /// Notes that a look-up of the trial found its node.
    /// @{
    static void noteFound() noexcept { ++state.found; }
    static void noteFoundInTable() noexcept { state.found += state.metOthers ? 1 : 0; }
    /// @}

    /// Ends the trial, because there is no memory for found nodes.
    static void giveUp() noexcept { state.left = -lookupsWithoutTrial; }

private:
    // docs/tuning.md says where the numbers come from.
    static constexpr int firstLookups = 64;
    static constexpr int furtherLookups = 4'096;
    static constexpr int lookupsWithoutTrial = 2'048;
    static constexpr int lookupsForEachFound = 4;

    struct State {
        int left = 0;  // positive: look-ups that are left to the trial; negative: those until another one may begin
        int length = 0;
        int found = 0;
        bool metOthers = false;
    };

    static void begin(int lookups) noexcept { state = {lookups, lookups, 0, false}; }

    [[nodiscard]] static bool spend() noexcept {
        if (state.left < 0) {
            ++state.left;
            return false;
        }
        if (--state.left == 0) [[unlikely]] {
            if (state.found * lookupsForEachFound >= state.length) {
                begin(furtherLookups);
            } else {
                giveUp();
            }
        }
        return true;
    }

    static constinit thread_local State state;
};

constinit inline thread_local Trial::State Trial::state;

}  // namespace Tavik::Impl
