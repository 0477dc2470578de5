#include "Field.h"

#include <charconv>
#include <system_error>
#include <utility>

#include "SyntaxError.h"

using Tavik::ObjectPath;
using Tavik::String;

namespace {

std::ptrdiff_t numberOf(std::string_view text, std::size_t offset) {
    std::ptrdiff_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number == 0) {
        throw SyntaxError("a segment has a number from 1 at the root on, or from -1 at the leaf", offset);
    }
    return number;
}

std::ptrdiff_t depthOf(const ObjectPath& path) noexcept {
    std::ptrdiff_t depth = 0;
    for (auto view = path.toView(); !view.isRoot(); view = view.parent()) {
        ++depth;
    }
    return depth;
}

}  // namespace

Field::Field(std::string_view text, std::size_t& offset, std::string_view terminators) {
    const std::size_t begin = offset;
    for (; offset < text.size() && terminators.find(text[offset]) == std::string_view::npos; ++offset) {
        if (text[offset] == '.') {
            if (segmentName_ || key_.empty()) {
                throw SyntaxError(key_.empty() ? "a name is missing" : "a . in a name or key is written as \\.",
                                  offset);
            }
            segmentName_ = std::exchange(key_, {});
            continue;
        }
        if (text[offset] == '\\' && ++offset == text.size()) {
            throw SyntaxError("a backslash is the last character", offset);
        }
        key_ += text[offset];
    }
    text_ = text.substr(begin, offset - begin);
    if (text_.empty()) {
        throw SyntaxError("a key is missing", offset);
    }
    if (text_.front() == '/') {
        number_ = numberOf(std::string_view(text_).substr(1), begin + 1);
    }
}

const String* Field::in(const ObjectPath& path) const noexcept {
    return number_ != 0 ? nameIn(path) : attributeIn(path);
}

const String* Field::attributeIn(const ObjectPath& path) const noexcept {
    for (auto view = path.toView(); !view.isRoot(); view = view.parent()) {
        if (segmentName_ && view.name() != *segmentName_) {
            continue;
        }
        if (const String* value = view.attribute(key_)) {
            return value;
        }
    }
    return nullptr;
}

const String* Field::nameIn(const ObjectPath& path) const noexcept {
    std::ptrdiff_t above = number_ < 0 ? -(number_ + 1) : depthOf(path) - number_;
    for (auto view = path.toView(); !view.isRoot(); view = view.parent()) {
        if (above-- == 0) {
            return &view.name();
        }
    }
    return nullptr;
}

void addFields(std::string_view text, std::vector<Field>& fields) {
    for (std::size_t offset = 0;; ++offset) {
        fields.emplace_back(text, offset, ",");
        if (offset == text.size()) {
            return;
        }
    }
}
