/// @file
/// What strings are made of, convert to and compare with. Compiled in C++17 and in C++20.

#pragma once

#include <array>
#include <map>
#include <string>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace StringUse {

using Tavik::ObjectPath;
using Tavik::String;

/// A string of a type that knows no standard string.
struct Pointer {
    const char* text;
    operator const char*() const { return text; }  // NOLINT(google-explicit-constructor)
};

template <typename Left, typename Right>
std::array<bool, 6> compare(const Left& left, const Right& right) {
    return {left == right, left != right, left<right, left <= right, left> right, left >= right};
}

// A null pointer is no string, and a string cannot be cut down to what it is made of.
inline constexpr auto append = [](auto text) -> decltype(String().append(text)) {};
static_assert(!std::is_invocable_v<std::equal_to<>, String, std::nullptr_t> &&
              !std::is_invocable_v<std::less<>, std::nullptr_t, String> &&
              !std::is_invocable_v<decltype(append), std::nullptr_t> &&
              !std::is_constructible_v<String, std::nullptr_t> &&
              !std::is_convertible_v<String, Tavik::Impl::TextWords>);

/// The name of the first property that does not hold, or an empty one.
inline std::string_view firstFailure(std::initializer_list<std::pair<std::string_view, bool>> properties) {
    for (const auto& [name, holds] : properties) {
        if (!holds) {
            return name;
        }
    }
    return "";
}

/// What of a string does not compare like a standard one of the same bytes, with strings of every kind on either side.
inline std::string_view differenceOfOrder(const String& left,
                                          const std::string& standardLeft,
                                          const String& right,
                                          const std::string& standardRight) {
    const std::string_view viewLeft = standardLeft;
    const std::string_view viewRight = standardRight;
    const std::array<bool, 6> expected = compare(viewLeft, viewRight);
    return firstFailure({
        {"string and string", compare(left, right) == expected},
        {"string and std::string", compare(left, standardRight) == expected},
        {"std::string and string", compare(standardLeft, right) == expected},
        {"string and view", compare(left, viewRight) == expected},
        {"view and string", compare(viewLeft, right) == expected},
        {"string and pointer", compare(left, viewRight.data()) == compare(viewLeft, viewRight.data())},
        {"pointer and string", compare(Pointer{viewLeft.data()}, right) == compare(viewLeft.data(), viewRight)},
    });
}

/// What of a string is not as of a standard one: how it is made, converts, hashes and is held in a path.
inline std::string_view differenceFrom(const std::string& standard, const String& text) {
    const std::string_view view = text;
    const std::map<std::string, std::string> attributes = {{"id", standard}};
    const ObjectPath path = ObjectPath().append(text, {attributes.begin(), attributes.end()});
    return firstFailure({
        {"view", view == standard},
        {"data and size", view == std::string_view(text.data(), text.size())},
        {"made of std::string", text == String(standard)},
        {"made of view", text == String(view)},
        {"empty", text.empty() == standard.empty()},
        {"std::string in a path", path == ObjectPath().append(standard, {{"id", standard.substr(0)}})},
        {"string in a path", path == ObjectPath().append(standard, {{"id", text}})},
        {"copied attribute", path.leaf()->attributes().at("id").data() != path.leaf()->attribute("id")->data()},
        {"keyedHash", text.keyedHash() == String(standard).keyedHash()},
        {"std::hash", std::hash<String>()(text) == std::hash<std::string>()(standard)},
        {"absl::Hash", absl::Hash<String>()(text) == absl::Hash<std::string_view>()(standard)},
    });
}

}  // namespace StringUse
