/// @file
/// Prepares a heap, so that it is as in a program that has run for a while.

#pragma once

#include <malloc.h>

#include <cstddef>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

namespace Benchmarks {

/// The process keeps the memory that it releases from now on.
inline void keepReleasedMemory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
}

/// Lets the heap of this thread grow by `size`, and touches that. Call `keepReleasedMemory` first.
inline void touchHeap(std::size_t size) {
    // Small enough for gaps, whose pages a new process shares with the one that it was forked from.
    constexpr std::size_t blockSize = 4096;
    std::vector<std::unique_ptr<char[]>> blocks(size / blockSize);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        blocks[i] = std::make_unique<char[]>(blockSize);
        // Only the first thread has one heap. Those of the others consist of areas of 64 MiB, which are given back when
        // nothing is left in them.
        if (i % 8192 == 0) {
            benchmark::DoNotOptimize(new int);
        }
    }
}

}  // namespace Benchmarks
