#include "Lines.h"

#include <cerrno>
#include <cstdlib>

#include <stdio_ext.h>

Lines::Lines(const char* name) : name_(name), file_(stdin) {
    if (name_ == "-") {
        name_ = "(standard input)";
    } else {
        file_ = std::fopen(name, "re");
    }
    if (file_ == nullptr) {
        error_ = errno;
    } else {
        __fsetlocking(file_, FSETLOCKING_BYCALLER);  // the program has one thread
    }
}

Lines::~Lines() {
    if (file_ != nullptr && file_ != stdin) {
        std::fclose(file_);
    }
    std::free(buffer_);
}

std::optional<std::string_view> Lines::next() {
    if (error_ != 0) {
        return std::nullopt;
    }
    errno = 0;
    const ssize_t size = getline(&buffer_, &capacity_, file_);
    if (size < 0) {
        error_ = std::feof(file_) != 0 && std::ferror(file_) == 0 ? 0 : errno;
        return std::nullopt;
    }
    ++number_;
    std::string_view line(buffer_, static_cast<std::size_t>(size));
    if (line.back() == '\n') {
        line.remove_suffix(1);
    }
    return line;
}

std::string_view withoutCarriageReturn(std::string_view line) noexcept {
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    return line;
}
