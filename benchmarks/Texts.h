/// @file
/// The strings that the benchmarks work on.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Benchmarks::Texts {

/// Three segments with two attributes.
inline constexpr const char* threeSegments = "/site/rack[row=4][slot=11]/port";

/// Six segments with four attributes.
inline constexpr const char* sixSegments = "/site/hall[floor=2]/rack[row=4][slot=11]/card/module[type=sfp]/port";

/// Six segments with four attributes, all at the leaf.
inline constexpr const char* sixSegmentsOfFile =
    "/usr/share/doc/openssl/examples/readme[group=root][mode=644][size=2044][user=root]";

/// Six segments that a file could have.
inline constexpr const char* sixNames = "/site/hall/rack/card/module/port";

/// Eight segments with four attributes.
inline constexpr const char* eightSegments =
    "/site/hall[floor=2]/rack[row=4][slot=11]/card/module[type=sfp]/port/link/counter";

/// Three segments with two attributes; every field has 19 to 25 bytes.
inline constexpr const char* longFields =
    "/distribution-centre/cooling-water-circulation"
    "[maintenance-interval=every-second-wednesday][manufacturer-number=B-2210-0047-2231-X9]"
    "/temperature-sensor-array";

/// As `sixSegments`, but six of the fourteen fields need an escape.
inline constexpr const char* escapedSegments =
    "/si\\/te/hall[floor=2\\]]/rack\\[a[row=4][slot=11\\\\]/card/module[type=s\\]fp]/po\\\\rt";

/// A pattern that selects `sixSegments`.
inline constexpr const char* pattern = "/site/*/rack[row=4][slot=*]/.../port";

/// Two strings like `text` that have no node in common: the first name and the last value of the first segment with
/// attributes, with which the two chains of nodes end, begin with `first` and with the next letter. No more than two,
/// because some nodes of many would not be found without a lock.
inline std::vector<std::string> unrelated(std::string_view text, char first = 'a') {
    std::vector<std::string> texts(2, std::string(text));
    for (std::string& each : texts) {
        each[1] = first;
        if (const std::size_t equals = each.rfind('=', each.find("]/")); equals != std::string::npos) {
            each[equals + 1] = first;
        }
        ++first;
    }
    return texts;
}

/// Strings like `text` that differ in the name of the leaf only.
inline std::vector<std::string> siblings(std::string_view text) {
    std::vector<std::string> texts(16, std::string(text));
    char first = 'a';
    for (std::string& each : texts) {
        each[each.rfind('/') + 1] = first++;
    }
    return texts;
}

}  // namespace Benchmarks::Texts
