#include "Comparisons.h"

#include <algorithm>
#include <cstring>

std::size_t Robustness::comparisons = 0;

extern "C" {

[[gnu::noinline]] int memcmp(const void* left, const void* right, std::size_t size) noexcept {
    ++Robustness::comparisons;
    const auto* const leftBytes = static_cast<const unsigned char*>(left);
    const auto* const rightBytes = static_cast<const unsigned char*>(right);
    const auto [i, j] = std::mismatch(leftBytes, leftBytes + size, rightBytes);
    return i == leftBytes + size ? 0 : *i - *j;
}

int bcmp(const void* left, const void* right, std::size_t size) noexcept {
    return memcmp(left, right, size);
}
}
