// What the parts cost that no implementation can do without.

#include <array>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

void lockMutex(benchmark::State& state) {
    std::mutex mutex;
    for ([[maybe_unused]] const auto iteration : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}

void copyOwner(benchmark::State& state) {
    const auto owner = std::make_shared<const int>(1);
    measure(state, [&] { return std::shared_ptr<const int>(owner); });
}

void hashText(benchmark::State& state) {
    std::string_view text = "device-17";
    measure(state, [&] {
        benchmark::DoNotOptimize(text);
        return absl::HashOf(text);
    });
}

void allocate(benchmark::State& state) {
    for ([[maybe_unused]] const auto iteration : state) {
        void* memory = std::malloc(48);
        benchmark::DoNotOptimize(memory);
        std::free(memory);
    }
}

void scanText(benchmark::State& state) {
    std::array<unsigned char, 256> special{};
    for (const char character : std::string_view("/[=]\\")) {
        special[static_cast<unsigned char>(character)] = 1;
    }
    std::string_view text = Texts::sixSegments;
    measure(state, [&] {
        benchmark::DoNotOptimize(text);
        unsigned count = 0;
        for (const char character : text) {
            count += special[static_cast<unsigned char>(character)];
        }
        return count;
    });
}

}  // namespace

void addFloors() {
    benchmark::RegisterBenchmark("mutex_lock_unlock/floor", lockMutex);
    benchmark::RegisterBenchmark("shared_ptr_copy_destroy/floor", copyOwner);
    benchmark::RegisterBenchmark("hash_9_bytes/floor", hashText);
    benchmark::RegisterBenchmark("malloc_free_48/floor", allocate);
    benchmark::RegisterBenchmark("scan_6_4/floor", scanText);
}

}  // namespace Benchmarks
