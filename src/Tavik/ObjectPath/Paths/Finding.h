/// @file
/// Internal: finding paths without creating them.

#pragma once

#include <Tavik/ObjectPath/Nodes/Content.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// Lets `path` become its child with the given segment if all nodes of that are alive, and returns whether they are. If
/// not, `path` may be changed. Throws `std::bad_alloc` and `std::system_error`.
[[nodiscard]] bool findSegment(ObjectPath& path, const TextRef& name, Attributes attributes);

}  // namespace Tavik::Impl
