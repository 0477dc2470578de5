/// @file
/// The reporter of fatal assertions.

#pragma once

#include <fmt/core.h>

#include <Tavik/Core/Export.h>

namespace Tavik::Impl {

/// Writes the location and the formatted message of a violated precondition to standard error and aborts. A format
/// string that does not fit its arguments, or running out of memory, terminates the process, too.
///
/// @param expression the text of the condition that failed, or "" to leave it out
/// @param file the source file of the assertion
/// @param function the function that makes it
/// @param line its line
/// @param format the message, a {fmt} format string
/// @param args what replaces the placeholders of the format string
[[noreturn]] TAVIK_CORE_EXPORT void vfmassertb(const char* expression,
                                               const char* file,
                                               const char* function,
                                               int line,
                                               fmt::string_view format,
                                               fmt::format_args args) noexcept;

}  // namespace Tavik::Impl
