/// @file
/// Internal: fatal assertions in the functions of the headers and of the library.

#pragma once

#include <Tavik/Core/Assert.h>

/// Terminates the process with a message unless `condition` holds. `message` is a {fmt} format string, and `arguments`
/// are the `fmt::format_args` that it takes, or `{}`.
#define TAVIK_OBJECT_PATH_REQUIRE(condition, message, arguments)                             \
    do {                                                                                     \
        if (!(condition)) {                                                                  \
            ::Tavik::Impl::vfmassertb("", __FILE__, __func__, __LINE__, message, arguments); \
        }                                                                                    \
    } while (false)
