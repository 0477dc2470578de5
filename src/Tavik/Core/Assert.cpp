#include <Tavik/Core/Assert.h>

#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>

namespace Tavik::Impl {

void vfmassertb(const char* expression,
                const char* file,
                const char* function,
                int line,
                fmt::string_view format,
                fmt::format_args args) noexcept {
    // One write for the whole report, so that the reports of several threads are not mixed up.
    fmt::memory_buffer report;
    fmt::format_to(fmt::appender(report), "{}:{}: {}: ", file, line, function);
    if (*expression != '\0') {
        fmt::format_to(fmt::appender(report), "assertion `{}` failed: ", expression);
    }
    fmt::vformat_to(fmt::appender(report), format, args);
    report.push_back('\n');
    std::fwrite(report.data(), 1, report.size(), stderr);
    std::fflush(stderr);
    std::abort();
}

}  // namespace Tavik::Impl
