/// @file
/// Internal: the only code that adds segments to paths.

#pragma once

#include <Tavik/ObjectPath/Nodes/Content.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// `path` with one more segment. Throws `std::bad_alloc` and `std::system_error`.
[[nodiscard]] ObjectPath appendSegment(const ObjectPath& path, const TextRef& name, Attributes attributes);

/// As above. Nodes that are created take over what `path` owns, and so leave it in an unspecified state.
[[nodiscard]] ObjectPath appendSegment(ObjectPath&& path, const TextRef& name, Attributes attributes);

}  // namespace Tavik::Impl
