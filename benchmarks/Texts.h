/// @file
/// The texts that the benchmarks work on.

#pragma once

namespace Benchmarks::Texts {

/// Three segments with two attributes.
inline constexpr const char* threeSegments = "/site/rack[row=4][slot=11]/port";

/// Six segments with four attributes.
inline constexpr const char* sixSegments = "/site/hall[floor=2]/rack[row=4][slot=11]/card/module[type=sfp]/port";

/// Six segments that a file could have.
inline constexpr const char* sixNames = "/site/hall/rack/card/module/port";

/// Eight segments with four attributes.
inline constexpr const char* eightSegments =
    "/site/hall[floor=2]/rack[row=4][slot=11]/card/module[type=sfp]/port/link/counter";

/// Three segments with two attributes; every field has 19 to 25 bytes.
inline constexpr const char* longFields =
    "/distribution-centre/cooling-water-circulation"
    "[manufacturer-number=B-2210-0047-2231-X9][maintenance-interval=every-second-wednesday]"
    "/temperature-sensor-array";

/// As `sixSegments`, but six of the fourteen fields need an escape.
inline constexpr const char* escapedSegments =
    "/si\\/te/hall[floor=2\\]]/rack\\[a[row=4][slot=11\\\\]/card/module[type=s\\]fp]/po\\\\rt";

/// A pattern that selects `sixSegments`.
inline constexpr const char* pattern = "/site/*/rack[row=4][slot=*]/.../port";

}  // namespace Benchmarks::Texts
