/// @file
/// The types that are compared. Their paths have the same members as the library's, so that each benchmark is written
/// once; what the members do not cover is here.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <absl/container/btree_map.h>

#include "Flyweight.h"
#include "HandWritten.h"
#include "TextPath.h"

namespace Benchmarks {

struct Ours {
    static constexpr const char* label = "ours";
    using Path = Tavik::ObjectPath;
    using Attributes = absl::btree_map<Tavik::String, Tavik::String>;

    static auto parse(std::string_view text) { return Tavik::tryParseObjectPath(text); }
    static std::size_t leafSize(const Path& path) { return path.leaf()->segment->name.size(); }

    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        for (const Tavik::ObjectPathSegment& segment : path.explode()) {
            visit(segment.segment->name);
        }
    }
};

/// Ours, with a view, which owns nothing, instead of `explode`.
struct OursByView : Ours {
    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        for (Path::View view = path.toView(); *view.segment != nullptr; view = view.parent()) {
            visit((*view.segment)->name);
        }
    }
};

template <typename PathOfPeer>
struct Peer {
    using Path = PathOfPeer;
    using Attributes = typename Path::Attributes;

    static auto parse(std::string_view text) { return Path::parse(text); }
    static std::size_t leafSize(const Path& path) { return path.leafName().size(); }

    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        path.forEachName(visit);
    }
};

/// The sorted map is a `std::map`.
struct ByHand : Peer<HandWrittenPath<TreeMap>> {
    static constexpr const char* label = "by_hand";
};

/// The sorted map is a sorted vector.
struct ByHandFlat : Peer<HandWrittenPath<FlatMap>> {
    static constexpr const char* label = "by_hand_flat";
};

struct Flyweight : Peer<FlyweightPath> {
    static constexpr const char* label = "flyweight";
};

/// The order is that of the strings, not that of the segments.
struct Text : Peer<TextPath> {
    static constexpr const char* label = "string";
};

/// The path of a well-formed text.
template <typename Peer>
typename Peer::Path pathOf(std::string_view text) {
    return std::get<0>(Peer::parse(text));
}

}  // namespace Benchmarks
