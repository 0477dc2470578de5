#include <Tavik/Core/Format.h>

#include <iterator>

#include <fmt/format.h>

namespace Tavik {

String formatString(fmt::string_view format, fmt::format_args args) noexcept {
    fmt::memory_buffer text;
    fmt::vformat_to(fmt::appender(text), format, args);
    return String(std::string_view(text.data(), text.size()));
}

}  // namespace Tavik
