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

/// Whether strings compare like standard ones of the same bytes, with strings of every kind on either side.
inline bool comparesLike(const String& left,
                         const std::string& standardLeft,
                         const String& right,
                         const std::string& standardRight) {
    const std::string_view viewLeft = standardLeft;
    const std::string_view viewRight = standardRight;
    const std::array<bool, 6> expected = compare(viewLeft, viewRight);
    return compare(left, right) == expected && compare(left, standardRight) == expected &&
           compare(standardLeft, right) == expected && compare(left, viewRight) == expected &&
           compare(viewLeft, right) == expected &&
           compare(left, viewRight.data()) == compare(viewLeft, viewRight.data()) &&
           compare(Pointer{viewLeft.data()}, right) == compare(viewLeft.data(), viewRight);
}

/// Whether a string is made of, converts to and is held in a path like a standard one.
inline bool isLike(const String& text, const std::string& standard) {
    const std::string_view view = text;
    const std::map<std::string, std::string> attributes = {{"id", standard}};
    const ObjectPath path = ObjectPath().append(text, {attributes.begin(), attributes.end()});
    return view == standard && view == std::string_view(text.data(), text.size()) && text == String(standard) &&
           text == String(view) && text.empty() == standard.empty() &&
           path == ObjectPath().append(standard, {{"id", standard.substr(0)}}) &&
           path == ObjectPath().append(standard, {{"id", text}}) && text.keyedHash() == String(standard).keyedHash() &&
           path.leaf()->attributes().at("id").data() != path.leaf()->attribute("id")->data() &&
           std::hash<String>()(text) == std::hash<std::string>()(standard) &&
           absl::Hash<String>()(text) == absl::Hash<std::string_view>()(standard);
}

}  // namespace StringUse
