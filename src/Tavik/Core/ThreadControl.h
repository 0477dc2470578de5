/// @file
/// What the process has said about its use of threads.

#pragma once

#include <Tavik/Core/Export.h>

namespace Tavik {

/// Process-wide switches for threading.
class TAVIK_CORE_EXPORT ThreadControl {
public:
    /// Says whether smart pointers have to be safe for use by several threads. Any thread may call it.
    static void threadSafePointerIs(bool safe) noexcept;

    /// What was said last; false before.
    [[nodiscard]] static bool threadSafePointerIs() noexcept;
};

}  // namespace Tavik
