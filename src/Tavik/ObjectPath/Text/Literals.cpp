// Paths of literals.

#include <atomic>
#include <memory>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {
namespace {

struct KeptPath {
    ObjectPath path;
    KeptPath* next = nullptr;
};

/// Never destroyed. Leak checkers find all kept paths from here, even if the library with the literal is unloaded.
constinit std::atomic<KeptPath*> keptPaths = nullptr;

}  // namespace

const ObjectPath& keepLiteral(std::string_view text) noexcept {
    auto* const kept = std::make_unique<KeptPath>().release();
    kept->path = parseObjectPath(text);
    kept->next = keptPaths.load(std::memory_order_relaxed);
    while (!keptPaths.compare_exchange_weak(kept->next, kept, std::memory_order_release, std::memory_order_relaxed)) {
    }
    return kept->path;
}

}  // namespace Tavik::Impl
