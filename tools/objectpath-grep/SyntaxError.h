/// @file
/// What is wrong with an argument that is a small language of its own.

#pragma once

#include <cstddef>
#include <stdexcept>

class SyntaxError : public std::runtime_error {
public:
    /// An error at the byte `offset` of the argument.
    SyntaxError(const char* message, std::size_t offset) : std::runtime_error(message), offset_(offset) {}

    [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

private:
    std::size_t offset_;
};
