/// @file
/// Lets a program whose containers have another layout than those of the library fail to link instead of corrupting
/// memory.

#pragma once

#include <absl/container/flat_hash_map.h>

#include <Tavik/ObjectPath/Export.h>

#if defined(ABSL_HAVE_ADDRESS_SANITIZER)
#define TAVIK_OBJECT_PATH_ABSEIL_LAYOUT layoutWithAddressSanitizer
#elif defined(ABSL_HAVE_HWADDRESS_SANITIZER)
#define TAVIK_OBJECT_PATH_ABSEIL_LAYOUT layoutWithHardwareAddressSanitizer
#elif defined(ABSL_HAVE_MEMORY_SANITIZER)
#define TAVIK_OBJECT_PATH_ABSEIL_LAYOUT layoutWithMemorySanitizer
#else
/// Names the layout of Abseil's containers, which some sanitizers change.
#define TAVIK_OBJECT_PATH_ABSEIL_LAYOUT layoutWithoutSanitizer
#endif
#if defined(_GLIBCXX_DEBUG)
#define TAVIK_OBJECT_PATH_STANDARD_LAYOUT layoutWithDebugMode
#else
/// Names the layout of the standard containers, which the debug mode of libstdc++ changes.
#define TAVIK_OBJECT_PATH_STANDARD_LAYOUT layoutWithoutDebugMode
#endif
#if __has_attribute(retain)
#define TAVIK_OBJECT_PATH_KEEP [[gnu::used, gnu::retain, gnu::visibility("hidden")]]
#else
/// Keeps a constant that nothing refers to.
#define TAVIK_OBJECT_PATH_KEEP [[gnu::used, gnu::visibility("hidden")]]
#endif

namespace Tavik::Impl {

/// These functions do nothing. The library exports only the functions of its own layouts, and every program refers to
/// the functions of the layouts it was compiled with.
/// @{
TAVIK_OBJECT_PATH_EXPORT void TAVIK_OBJECT_PATH_ABSEIL_LAYOUT() noexcept;
TAVIK_OBJECT_PATH_EXPORT void TAVIK_OBJECT_PATH_STANDARD_LAYOUT() noexcept;
TAVIK_OBJECT_PATH_KEEP inline void (*const layouts[])() noexcept = {&TAVIK_OBJECT_PATH_ABSEIL_LAYOUT,
                                                                    &TAVIK_OBJECT_PATH_STANDARD_LAYOUT};

/// Its mangled name holds the namespace of Abseil's release series. Since 1.2.
TAVIK_OBJECT_PATH_EXPORT void layoutOfAbseil(const absl::flat_hash_map<int, int>* map) noexcept;
TAVIK_OBJECT_PATH_KEEP inline void (*const layoutOfSeries)(const absl::flat_hash_map<int, int>*) noexcept =
    &layoutOfAbseil;
/// @}

}  // namespace Tavik::Impl
