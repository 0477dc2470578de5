// Measures single steps that no implementation can avoid. The floor of each piece of work is a sum of these.

#include <atomic>
#include <cstdlib>
#include <string>

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

/// One iteration of `work` performs the step `count` times.
template <typename Work>
void addFloor(const std::string& step, std::size_t count, Work work) {
    benchmark::RegisterBenchmark(("floor/" + step).c_str(), [count, work](benchmark::State& state) {
        measure(state, work);
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
    });
}

void addTextFloors() {
    static std::string_view text = Texts::sixSegments;
    addFloor("byte", text.size(), [] {
        benchmark::DoNotOptimize(text);
        return text.find('\\');
    });
    static std::string_view name = "device-17";
    static std::string other(name);
    addFloor("hash", 1, [] {
        benchmark::DoNotOptimize(name);
        return absl::HashOf(name, &name);
    });
    addFloor("compare", 1, [] {
        benchmark::DoNotOptimize(name);
        benchmark::DoNotOptimize(other);
        return name == other;
    });
    addFloor("copy", 1, [] {
        benchmark::DoNotOptimize(other);
        return std::string(other);
    });
}

void addPointerFloors() {
    static const void* pointers[2] = {nullptr, pointers};
    addFloor("pointer_hash", 1, [] {
        benchmark::DoNotOptimize(pointers);
        return absl::HashOf(pointers[0], pointers[1]);
    });
    struct Link {
        const Link* next;
    };
    static constexpr std::size_t linkCount = 6;
    static Link links[linkCount + 1] = {};
    for (std::size_t i = 0; i < linkCount; ++i) {
        links[i].next = &links[i + 1];
    }
    addFloor("link", linkCount, [] {
        const Link* link = links;
        benchmark::DoNotOptimize(link);
        while (link->next != nullptr) {
            link = link->next;
        }
        return link;
    });
    static std::atomic<int> counter = 0;
    addFloor("atomic", 1, [] { return counter.fetch_add(1, std::memory_order_relaxed); });
    addFloor("allocation", 1, [] {
        void* memory = std::malloc(48);
        benchmark::DoNotOptimize(memory);
        std::free(memory);
        return 0;
    });
}

}  // namespace

void addFloors() {
    addTextFloors();
    addPointerFloors();
}

}  // namespace Benchmarks
