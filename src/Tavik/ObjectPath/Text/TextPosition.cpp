// Counting lines, characters and columns.

#include <Tavik/ObjectPath/TextPosition.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace Tavik {
namespace {

/// A code point, and how many bytes it takes.
struct Character {
    std::uint32_t code;
    std::size_t size;
};

/// The first character of `text`, which must not be empty. A byte that begins no code point of UTF-8 is a character by
/// itself.
Character firstCharacter(std::string_view text) noexcept {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t size = first < 0xc2 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 1;
    if (size == 1 || size > text.size()) {
        return {first < 0x80 ? first : 0xfffdU, 1};
    }
    std::uint32_t code = first & (0x7fU >> size);
    for (const char next : text.substr(1, size - 1)) {
        const auto byte = static_cast<unsigned char>(next);
        if (byte >> 6 != 2) {
            return {0xfffd, 1};
        }
        code = code << 6 | (byte & 0x3fU);
    }
    static constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x1'0000};  // a smaller code takes fewer bytes
    const bool isSurrogate = code >= 0xd800 && code < 0xe000;
    return code < least[size] || code > 0x10'ffff || isSurrogate ? Character{0xfffd, 1} : Character{code, size};
}

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

/// Characters that are drawn over the one before them, or not at all. The blocks of combining characters, not each
/// script's own marks.
constexpr Range combining[] = {
    {0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},   {0x610, 0x61a},   {0x64b, 0x65f},      {0x93c, 0x93c},
    {0x941, 0x948},   {0x94d, 0x94d},   {0xe31, 0xe31},   {0xe34, 0xe3a},   {0xe47, 0xe4e},      {0x1ab0, 0x1aff},
    {0x1dc0, 0x1dff}, {0x200b, 0x200f}, {0x202a, 0x202e}, {0x2060, 0x2064}, {0x20d0, 0x20ff},    {0x302a, 0x302d},
    {0x3099, 0x309a}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}, {0xfeff, 0xfeff}, {0xe'0100, 0xe'01ef}};

/// Characters that take two columns: East Asian scripts and emoji.
constexpr Range wide[] = {{0x1100, 0x115f},    {0x2e80, 0x303e},     {0x3041, 0xa4cf},     {0xa960, 0xa97c},
                          {0xac00, 0xd7a3},    {0xf900, 0xfaff},     {0xfe30, 0xfe6f},     {0xff00, 0xff60},
                          {0xffe0, 0xffe6},    {0x1'f300, 0x1'f64f}, {0x1'f680, 0x1'f6ff}, {0x1'f900, 0x1'f9ff},
                          {0x2'0000, 0x3'fffd}};

template <std::size_t count>
bool contains(const Range (&ranges)[count], std::uint32_t code) noexcept {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range& range) { return range.first <= code && code <= range.last; });
}

/// The column after a character that begins in `column`.
std::size_t columnAfter(std::size_t column, std::uint32_t code) noexcept {
    if (code == '\t') {
        return (column / 8 + 1) * 8;
    }
    return column + (contains(combining, code) ? 0 : contains(wide, code) ? 2 : 1);
}

}  // namespace

ObjectPathTextPosition locateOffset(std::string_view text, std::size_t offset) noexcept {
    const std::string_view before = text.substr(0, offset);
    const std::size_t begin = before.rfind('\n') + 1;  // 0 in the first line
    const std::size_t end = std::min(text.find('\n', before.size()), text.size());
    const auto newlines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    ObjectPathTextPosition position{newlines + 1, 1, text.substr(begin, end - begin), 0};
    for (std::string_view rest = position.lineText;;) {
        const auto passed = static_cast<std::size_t>(rest.data() - text.data());
        const Character next = rest.empty() ? Character{0, 1} : firstCharacter(rest);
        if (passed + next.size > before.size()) {
            return position;
        }
        ++position.column;
        position.caret = columnAfter(position.caret, next.code);
        rest.remove_prefix(next.size);
    }
}

}  // namespace Tavik
