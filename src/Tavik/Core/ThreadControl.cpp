#include <Tavik/Core/ThreadControl.h>

#include <atomic>

namespace Tavik {
namespace {

constinit std::atomic<bool> threadSafePointer = false;

}  // namespace

void ThreadControl::threadSafePointerIs(bool safe) noexcept {
    threadSafePointer.store(safe, std::memory_order_relaxed);
}

bool ThreadControl::threadSafePointerIs() noexcept {
    return threadSafePointer.load(std::memory_order_relaxed);
}

}  // namespace Tavik
