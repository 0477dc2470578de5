/// @file
/// What a program says about its use of threads.

#pragma once

#include <Tavik/Core/Export.h>

namespace Tavik {

/// Process-wide switches for threading.
class TAVIK_CORE_EXPORT ThreadControl {
public:
    /// Sets whether smart pointers have to be safe for use by several threads. Any thread may call it; takes no lock.
    static void threadSafePointerIs(bool safe) noexcept;

    /// The value that was set last; false if none was. Any thread may call it; takes no lock.
    [[nodiscard]] static bool threadSafePointerIs() noexcept;
};

}  // namespace Tavik
