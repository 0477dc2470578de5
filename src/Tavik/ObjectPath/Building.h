/// @file
/// The only code that adds segments to paths.

#pragma once

#include <memory>

#include <Tavik/ObjectPath/Interning.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// The path with the shape `parent` and the value chain `values`, and one more segment.
/// Throws `std::bad_alloc` and `std::system_error`.
[[nodiscard]] ObjectPath appendSegment(LinkRef<Segment> parent,
                                       LinkRef<Value> values,
                                       const TextRef& name,
                                       const Attributes& attributes);

}  // namespace Tavik::Impl
