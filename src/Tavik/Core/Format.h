/// @file
/// Formatting into a `Tavik::String`.

#pragma once

#include <fmt/core.h>

#include <Tavik/Core/Export.h>
#include <Tavik/Core/String.h>

namespace Tavik {

/// The text of a {fmt} format string with its placeholders replaced by `args`. Linear in the text, takes no lock. Never
/// throws: a format string that does not fit its arguments, or running out of memory, terminates the process.
[[nodiscard]] TAVIK_CORE_EXPORT String formatString(fmt::string_view format, fmt::format_args args) noexcept;

}  // namespace Tavik
