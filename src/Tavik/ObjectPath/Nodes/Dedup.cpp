// What programs see of the tables: where they are, their mutexes, and the handlers around a fork.

#include <pthread.h>

#include <mutex>
#include <new>

#include <Tavik/ObjectPath/Nodes/AbseilTable.h>
#include <Tavik/ObjectPath/Nodes/NodeTable.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {
namespace {

template <typename T>
constinit TableStorage<typename Dedup<T>::Table> tableStorage;

}  // namespace

/// Constant-initialised, before any code runs: a program may hold the one copy of the reference, in memory that is
/// read-only once the program has been loaded.
template <typename T>
constinit typename Dedup<T>::Table& Dedup<T>::table_ = tableStorage<T>.table;

template <typename T>
std::mutex Dedup<T>::mutex_;

template Dedup<Segment>::Table& Dedup<Segment>::table_;
template Dedup<Value>::Table& Dedup<Value>::table_;
template std::mutex Dedup<Segment>::mutex_;
template std::mutex Dedup<Value>::mutex_;

const Dedup<Segment>::Table& inspectSegmentTable() noexcept {
    return Dedup<Segment>::table_;
}

const Dedup<Value>::Table& inspectValueTable() noexcept {
    return Dedup<Value>::table_;
}

namespace {

/// A child inherits the mutexes as they are at the fork, so no other thread may hold one then. In the library, only
/// this thread holds both. A program that reads the tables may lock both in either order, so this never waits for one
/// while it holds the other. The core library takes the locks of its pool after these.
void lockBoth() noexcept {
    std::lock(Dedup<Segment>::mutex_, Dedup<Value>::mutex_);
}

void unlockBoth() noexcept {
    Dedup<Value>::mutex_.unlock();
    Dedup<Segment>::mutex_.unlock();
}

void resumeInChild() noexcept TAVIK_NO_THREAD_SAFETY_ANALYSIS {
    NodeTable<Segment>::repairAfterFork();
    NodeTable<Value>::repairAfterFork();
    unlockBoth();
}

/// Runs when the library is loaded.
[[maybe_unused]] const bool isPrepared = [] {
    new (&tableStorage<Segment>.table) Dedup<Segment>::Table;
    new (&tableStorage<Value>.table) Dedup<Value>::Table;
    return pthread_atfork(&lockBoth, &unlockBoth, &resumeInChild) == 0;
}();

}  // namespace
}  // namespace Tavik::Impl
