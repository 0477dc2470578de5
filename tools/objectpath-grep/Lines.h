/// @file
/// Files, line by line.

#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// The lines of a file, or of standard input if its name is "-".
class Lines {
public:
    /// Opens the file.
    explicit Lines(const char* name);
    ~Lines();
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    /// The next line, without the newline that ends it. Nothing at the end of the file and after an error. Valid until
    /// the next call.
    [[nodiscard]] std::optional<std::string_view> next();

    /// The number of the line that was read last, from 1 on.
    [[nodiscard]] std::size_t number() const noexcept { return number_; }

    /// The name of the file, for people.
    [[nodiscard]] const std::string& name() const noexcept { return name_; }

    /// Why the file could not be opened or read; zero if it could.
    [[nodiscard]] int error() const noexcept { return error_; }

private:
    std::string name_;
    std::FILE* file_;
    char* buffer_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t number_ = 0;
    int error_ = 0;
};

/// A line without the carriage return that ends it in files of other systems.
[[nodiscard]] std::string_view withoutCarriageReturn(std::string_view line) noexcept;
