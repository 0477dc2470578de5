#include "PathText.h"

#include <algorithm>

namespace {

/// The offset of the first of `ends` in `text`, from `offset` on, that no backslash escapes.
std::size_t findEnd(std::string_view text, std::size_t offset, std::string_view ends) noexcept {
    while (offset < text.size() && ends.find(text[offset]) == std::string_view::npos) {
        offset += text[offset] == '\\' ? 2 : 1;
    }
    return std::min(offset, text.size());
}

std::size_t endOfSegment(std::string_view text, std::size_t offset) noexcept {
    offset = findEnd(text, offset, "/[");
    while (offset < text.size() && text[offset] == '[') {
        offset = findEnd(text, findEnd(text, offset, "="), "]");
        offset = findEnd(text, offset + 1, "/[");
    }
    return offset;
}

}  // namespace

std::size_t sizeOfSegments(std::string_view text, std::size_t count, Syntax syntax) noexcept {
    std::size_t offset = 0;
    for (; count > 0; --count) {
        offset = std::min(text.find_first_not_of('/', offset), text.size());
        offset =
            syntax == Syntax::fileName ? std::min(text.find('/', offset), text.size()) : endOfSegment(text, offset);
    }
    return offset;
}
