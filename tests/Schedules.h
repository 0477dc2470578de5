/// @file
/// Runs threads that take turns, in every order of their steps.

#pragma once

#include <ucontext.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace Schedules {

/// A thread that takes a step whenever the scheduler lets it. What it reads decides what it does next. All such threads
/// are contexts of one thread of the system, which would take a thousand times as long for a step.
class Worker {
public:
    void start(std::function<void()> body) {
        body_ = std::move(body);
        seen = 0;
        isDone_ = false;
        getcontext(&context_);
        context_.uc_stack.ss_sp = stack_.data();
        context_.uc_stack.ss_size = stack_.size();
        context_.uc_link = &scheduler;
        makecontext(
            &context_, [] { self->body_(), self->isDone_ = true; }, 0);
    }
    void step() {
        self = this;
        swapcontext(&scheduler, &context_);
        self = nullptr;
    }
    void pause() { swapcontext(&context_, &scheduler); }
    [[nodiscard]] bool isDone() const { return isDone_; }

    std::uint64_t seen = 0;  // a hash of all that it read, and so of what it is about to do

    static inline Worker* self = nullptr;  // null outside of steps

private:
    static inline ucontext_t scheduler;

    std::function<void()> body_;
    bool isDone_ = true;
    ucontext_t context_{};
    std::vector<char> stack_ = std::vector<char>(std::size_t{1} << 17);
};

inline std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
    return ((hash ^ value) * 0x9e37'79b9'7f4a'7c15 ^ hash >> 29) + 1;
}

/// Ends a step of the present thread.
inline void pause() {
    if (Worker* const self = Worker::self) {
        self->seen = mix(self->seen, 1);
        self->pause();
    }
}

/// Notes what the present thread has read.
template <typename T>
T saw(T value) {
    if (Worker* const self = Worker::self) {
        self->seen = mix(self->seen, static_cast<std::uint64_t>(value));
    }
    return value;
}

/// Notes that what the present thread has read matters no more, but for how much of its work is left.
inline void forget(std::size_t left) {
    if (Worker* const self = Worker::self) {
        self->seen = left + 1;
    }
}

/// An atomic word each of whose operations is a step.
template <typename T>
struct Atomic {
    Atomic() = default;
    Atomic(T initial) : value(initial) {}

    T load(std::memory_order = {}) const { return pause(), saw(value); }
    void store(T stored, std::memory_order = {}) { pause(), value = stored; }
    T exchange(T stored, std::memory_order = {}) { return pause(), saw(std::exchange(value, stored)); }

    T value{};
};

/// Runs the bodies in all orders. `begin` is called before each run and `end` after it, which returns whether to go on;
/// `stateOf` is a hash of what the threads share. Orders that lead to a state from which all has been tried are left
/// out. Returns the number of states.
inline std::size_t runAll(const std::vector<std::function<void()>>& bodies,
                          const std::function<void()>& begin,
                          const std::function<std::uint64_t()>& stateOf,
                          const std::function<bool()>& end) {
    struct Choice {
        std::size_t taken;
        std::size_t count;
    };
    std::vector<Worker> workers(bodies.size());
    std::vector<Choice> choices;
    std::set<std::uint64_t> states;
    do {
        begin();
        for (std::size_t i = 0; i < workers.size(); ++i) {
            workers[i].start(bodies[i]);
        }
        bool isNew = true;
        for (std::size_t depth = 0;; ++depth) {
            std::vector<Worker*> runnable;
            std::uint64_t state = stateOf();
            for (Worker& worker : workers) {
                state = mix(state, worker.isDone() ? 0 : worker.seen);
                if (!worker.isDone()) {
                    runnable.push_back(&worker);
                }
            }
            if (runnable.empty()) {
                break;
            }
            if (depth >= choices.size() && isNew) {
                isNew = states.insert(state).second;
                if (isNew) {
                    choices.push_back({0, runnable.size()});
                }
            }
            runnable[depth < choices.size() ? choices[depth].taken : 0]->step();
        }
        while (!choices.empty() && ++choices.back().taken == choices.back().count) {
            choices.pop_back();
        }
    } while (end() && !choices.empty());
    return states.size();
}

}  // namespace Schedules
