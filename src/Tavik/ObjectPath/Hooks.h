/// @file
/// Hooks for other libraries, which find them by argument-dependent look-up: hashing, printing, flags and JSON. None
/// needs a header of the other library, except the formatters for {fmt}.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include <Tavik/Core/String.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {

/// Hashes two pointers, so the hash of a path may differ from process to process.
/// @relatesalso ObjectPath
template <typename H>
H AbslHashValue(H state, const ObjectPath& path) {
    return H::combine(std::move(state), path.segment, path.values);
}

/// Hashes for `boost::hash`, with the result of `std::hash`: the same in all libraries of a process. Since 1.3.
/// @relatesalso ObjectPath
[[nodiscard]] inline std::size_t hash_value(const ObjectPath& path) noexcept {
    constexpr std::uint64_t factor = 0x9e37'79b9'7f4a'7c15;  // spreads low bits over the high ones
    const auto mix = [](std::uint64_t word) { return (word ^ word >> 32) * factor; };
    const std::uint64_t shape = mix(reinterpret_cast<std::uintptr_t>(path.segment.get()));
    const std::uint64_t mixed = mix(shape + reinterpret_cast<std::uintptr_t>(path.values.get()));
    return mixed ^ mixed >> 32;
}

/// Writes the canonical text to an Abseil sink. Has the cost and exceptions of `toString`. Since 1.1.
/// @relatesalso ObjectPath
template <typename Sink>
void AbslStringify(Sink& sink, const ObjectPath& path) {
    AbslStringify(sink, path.toString());
}

/// Reads the value of a flag of Abseil, which must be the text of a path. Since 1.3.
/// @relatesalso ObjectPath
template <typename Text>
bool AbslParseFlag(Text text, ObjectPath* path, std::string* error) {
    auto result = tryParseObjectPath(std::string_view(text.data(), text.size()));
    if (const auto* const message = std::get_if<String>(&result)) {
        *error = message->str();
        return false;
    }
    *path = std::get<ObjectPath>(std::move(result));
    return true;
}

/// The canonical text, as the value of a flag of Abseil. Throws `std::bad_alloc`. Since 1.3.
/// @relatesalso ObjectPath
[[nodiscard]] inline std::string AbslUnparseFlag(const ObjectPath& path) {
    return path.toString().str();
}

/// Writes the canonical text to a JSON value of the nlohmann library. Throws `std::bad_alloc`. Since 1.3.
/// @relatesalso ObjectPath
template <typename Json>
std::void_t<typename Json::string_t> to_json(Json& json, const ObjectPath& path) {
    json = path.toString().str();
}

/// Reads a path from a JSON value of the nlohmann library. Throws the error of that library if the value is no
/// string, and `ObjectPathError` if the string is not the text of a path. Since 1.3.
/// @relatesalso ObjectPath
template <typename Json>
std::void_t<typename Json::string_t> from_json(const Json& json, ObjectPath& path) {
    const auto text = json.template get<typename Json::string_t>();
    path = parseObjectPathOrThrow(std::string_view(text.data(), text.size()));
}

}  // namespace Tavik

/// Hashes two pointers, in the same way in all libraries of a process.
template <>
struct std::hash<Tavik::ObjectPath> {
    std::size_t operator()(const Tavik::ObjectPath& path) const noexcept { return hash_value(path); }
};

/// Formats a path as its canonical text; width, fill and alignment apply as for any string.
template <>
struct fmt::formatter<Tavik::ObjectPath> : Tavik::Impl::TextFormatter<fmt::formatter<std::string_view>> {};

/// Formats a segment as it appears in the canonical text of a path.
template <>
struct fmt::formatter<Tavik::ObjectPathSegment> : Tavik::Impl::TextFormatter<fmt::formatter<std::string_view>> {};

/// Formats a cursor as its `toString()`.
template <>
struct fmt::formatter<Tavik::ObjectPath::View> : Tavik::Impl::TextFormatter<fmt::formatter<std::string_view>> {};

#ifdef __cpp_lib_format
template <>
struct std::formatter<Tavik::ObjectPath> : Tavik::Impl::TextFormatter<std::formatter<std::string_view>> {};

template <>
struct std::formatter<Tavik::ObjectPathSegment> : Tavik::Impl::TextFormatter<std::formatter<std::string_view>> {};

template <>
struct std::formatter<Tavik::ObjectPath::View> : Tavik::Impl::TextFormatter<std::formatter<std::string_view>> {};
#endif
