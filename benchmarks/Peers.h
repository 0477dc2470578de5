/// @file
/// The types that are compared, each behind the same functions, so that a benchmark is written once.
///
/// `parse` returns what the type's own parser returns: a path or a message.

#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <absl/container/btree_map.h>
#include <absl/hash/hash.h>

#include "Flyweight.h"
#include "HandWritten.h"
#include "HandWrittenPlain.h"

namespace Benchmarks {

struct Ours {
    static constexpr const char* label = "ours";
    using Path = Tavik::ObjectPath;
    using Attributes = absl::btree_map<Tavik::String, Tavik::String>;

    static auto parse(std::string_view text) { return Tavik::tryParseObjectPath(text); }
    static Path path(std::string_view text) { return std::get<Path>(parse(text)); }
    static Path append(const Path& path, std::string_view name) { return path.append(name); }
    static Path append(const Path& path, std::string_view name, const Attributes& attributes) {
        return path.append(name, attributes);
    }
    static void push(Path& path, std::string_view name) { path = path.append(name); }
    static void release(Path& path) { path = Path(); }
    static std::size_t hash(const Path& path) { return absl::HashOf(path); }
    static auto parent(const Path& path) { return path.parent(); }
    static std::size_t leafSize(const Path& path) { return path.leaf()->segment->name.view().size(); }
    static bool startsWith(const Path& path, const Path& prefix) { return path.startsWith(prefix); }
    static bool matches(const Path& path, const Path& pattern) { return path.matchesPattern(pattern); }
    static auto toString(const Path& path) { return path.toString(); }

    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        for (const Tavik::ObjectPathSegment& segment : path.explode()) {
            visit(segment.segment->name.view());
        }
    }
};

/// Ours where a view suffices, which owns nothing.
struct OursByView : Ours {
    static std::size_t leafSize(const Path& path) { return (*path.toView().segment)->name.view().size(); }

    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        for (Path::View view = path.toView(); *view.segment != nullptr; view = view.parent()) {
            visit((*view.segment)->name.view());
        }
    }
};

template <typename AttributeMap>
struct HandWritten {
    using Path = HandWrittenPath<AttributeMap>;
    using Attributes = AttributeMap;

    static auto parse(std::string_view text) { return Path::parse(text); }
    static Path path(std::string_view text) { return std::get<Path>(parse(text)); }
    static Path append(const Path& path, std::string_view name) { return path.append(name); }
    static Path append(const Path& path, std::string_view name, Attributes attributes) {
        return path.append(name, std::move(attributes));
    }
    static void push(Path& path, std::string_view name) { path.push(name); }
    static void release(Path& path) { path = Path(); }
    static std::size_t hash(const Path& path) { return absl::HashOf(path); }
    static Path parent(const Path& path) { return path.parent(); }
    static std::size_t leafSize(const Path& path) { return path.segments().back().name.size(); }
    static bool startsWith(const Path& path, const Path& prefix) { return path.startsWith(prefix); }
    static bool matches(const Path& path, const Path& pattern) { return path.matchesPattern(pattern); }
    static std::string toString(const Path& path) { return path.toString(); }

    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        for (const auto& segment : path.segments()) {
            visit(segment.name);
        }
    }
};

/// The sorted map is a `std::map`.
struct ByHand : HandWritten<TreeMap> {
    static constexpr const char* label = "by_hand";
};

/// Reads and writes character by character, for comparison with the tuned text of `ByHand`.
struct ByHandPlain : HandWritten<TreeMap> {
    static constexpr const char* label = "by_hand_plain";

    static auto parse(std::string_view text) { return parsePlainly(text); }
    static Path path(std::string_view text) { return std::get<Path>(parse(text)); }
    static std::string toString(const Path& path) { return writePlainly(path); }
};

/// The sorted map is a sorted vector.
struct ByHandFlat : HandWritten<FlatMap> {
    static constexpr const char* label = "by_hand_flat";
};

struct Flyweight {
    static constexpr const char* label = "flyweight";
    using Path = FlyweightPath;
    using Attributes = Path::Attributes;

    static auto parse(std::string_view text) { return Path::parse(text); }
    static Path path(std::string_view text) { return std::get<Path>(parse(text)); }
    static Path append(const Path& path, std::string_view name) { return path.append(name); }
    static Path append(const Path& path, std::string_view name, Attributes attributes) {
        return path.append(name, std::move(attributes));
    }
    static void push(Path& path, std::string_view name) { path = path.append(name); }
    /// Level by level: the destructors of a long chain would overflow the stack.
    static void release(Path& path) {
        while (path.leaf() != nullptr) {
            path = path.parent();
        }
    }
    static std::size_t hash(const Path& path) { return absl::HashOf(path); }
    static Path parent(const Path& path) { return path.parent(); }
    static std::size_t leafSize(const Path& path) { return path.leaf()->name.size(); }
    static bool startsWith(const Path& path, const Path& prefix) { return path.startsWith(prefix); }
    static bool matches(const Path& path, const Path& pattern) { return path.matchesPattern(pattern); }
    static std::string toString(const Path& path) { return path.toString(); }

    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        const Path::Nodes leafFirst = path.nodes();
        for (auto node = leafFirst.rbegin(); node != leafFirst.rend(); ++node) {
            visit((*node)->name);
        }
    }
};

/// Takes part where there are no attributes.
struct Filesystem {
    static constexpr const char* label = "filesystem";
    using Path = std::filesystem::path;

    static Path parse(std::string_view text) { return Path(text); }
    static Path path(std::string_view text) { return Path(text); }
    static Path append(const Path& path, std::string_view name) { return path / name; }
    static std::size_t hash(const Path& path) { return hash_value(path); }
    static Path parent(const Path& path) { return path.parent_path(); }
    static std::size_t leafSize(const Path& path) { return path.filename().native().size(); }
    static bool startsWith(const Path& path, const Path& prefix) {
        auto component = path.begin();
        for (const Path& wanted : prefix) {
            if (component == path.end() || *component != wanted) {
                return false;
            }
            ++component;
        }
        return true;
    }
    static std::string toString(const Path& path) { return path.string(); }

    template <typename Visit>
    static void forEachName(const Path& path, Visit visit) {
        for (const Path& component : path.relative_path()) {
            visit(component.native());
        }
    }
};

}  // namespace Benchmarks
