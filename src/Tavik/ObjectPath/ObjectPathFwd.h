/// @file
/// Declares the types of the library, for headers that only refer to them. Since 1.2.

#pragma once

namespace Tavik {

class ObjectPath;
class ObjectPathAttributeRange;
class ObjectPathCaptures;
class ObjectPathError;
class ObjectPathPatternSet;
struct ObjectPathCapture;
struct ObjectPathPatternConfig;
struct ObjectPathSegment;
struct ObjectPathStringConfig;
struct ObjectPathSubtree;
struct ObjectPathTextPosition;

namespace Impl {
class StrB;
struct Segment;
struct Value;
}  // namespace Impl

using String = Impl::StrB;

}  // namespace Tavik
