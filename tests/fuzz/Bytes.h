/// @file
/// Choices made from the bytes of an input.

#pragma once

#include <string>
#include <string_view>

/// Makes choices from bytes: 0, or the empty string, when there are none left.
struct Bytes {
    std::string_view rest;

    std::string_view take(std::size_t size) {
        const std::string_view taken = rest.substr(0, size);
        rest.remove_prefix(taken.size());
        return taken;
    }
    std::size_t below(std::size_t end) { return rest.empty() ? 0 : static_cast<unsigned char>(take(1).front()) % end; }
    std::string text() { return std::string(take(below(40))); }
};
