#include "StandardOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fmt/format.h>

#include "Messages.h"

namespace {

[[noreturn]] void failToWrite() {
    fail(fmt::format("write error: {}", std::strerror(errno)));
}

}  // namespace

void write(std::string_view bytes) {
    if (fwrite_unlocked(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
        failToWrite();
    }
}

void endLine() {
    if (putc_unlocked('\n', stdout) == EOF) {
        failToWrite();
    }
}

void flushOutput() {
    if (std::fflush(stdout) != 0) {
        failToWrite();
    }
}
