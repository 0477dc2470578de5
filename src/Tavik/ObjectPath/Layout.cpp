// The guards that a program links with only if its containers have the library's layout.

#include <Tavik/ObjectPath/Layout.h>

namespace Tavik::Impl {

void TAVIK_OBJECT_PATH_ABSEIL_LAYOUT() noexcept {}

void TAVIK_OBJECT_PATH_STANDARD_LAYOUT() noexcept {}

void layoutOfAbseil(const absl::flat_hash_map<int, int>* /*unused*/) noexcept {}

}  // namespace Tavik::Impl
