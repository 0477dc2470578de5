#include "TextPath.h"

#include <boost/container/flat_map.hpp>
#include <boost/container/small_vector.hpp>

#include "TextSyntax.h"

namespace Benchmarks {
namespace {

struct SegmentFields {
    std::string_view name;
    const TextPath::Attributes& attributes;
};

/// The size of the field at the beginning of `text`, which ends before one of `Terminators`; npos if it has an escape
/// that canonical text has not.
template <char... Terminators>
std::size_t fieldSize(std::string_view text) noexcept {
    std::size_t size = runLength<Terminators..., '\\'>(text);
    while (size < text.size() && text[size] == '\\') {
        if (size + 1 == text.size() || (text[size + 1] != '\\' && ((text[size + 1] != Terminators) && ...))) {
            return std::string_view::npos;
        }
        size += 2;
        size += runLength<Terminators..., '\\'>(text.substr(size));
    }
    return size;
}

/// Removes the first attribute from `rest`, which must not be empty.
std::pair<std::string_view, std::string_view> takeAttribute(std::string_view& rest) noexcept {
    rest.remove_prefix(1);
    const std::string_view key = rest.substr(0, fieldSize<'='>(rest));
    rest.remove_prefix(key.size() + 1);
    const std::string_view value = rest.substr(0, fieldSize<']'>(rest));
    rest.remove_prefix(value.size() + 1);
    return {key, value};
}

/// Removes canonical attributes from `text`. Returns false when there is anything else; perhaps also for a key with an
/// escape, which would have to be unescaped to compare it.
bool skipAttributes(std::string_view& text) noexcept {
    std::string_view lastKey;
    while (!text.empty() && text.front() == '[') {
        text.remove_prefix(1);
        const std::string_view key = text.substr(0, runLength<'=', '\\'>(text));
        text.remove_prefix(key.size());
        if (text.empty() || text.front() != '=' || (lastKey.data() != nullptr && key <= lastKey)) {
            return false;
        }
        const std::size_t valueSize = fieldSize<']'>(text);
        if (valueSize >= text.size()) {
            return false;
        }
        text.remove_prefix(valueSize + 1);
        lastKey = key;
    }
    return true;
}

/// Whether `text` is known to be canonical and not the root. One pass, which copies nothing; most text is so.
bool isCanonical(std::string_view text) noexcept {
    while (!text.empty()) {
        if (text.front() != '/') {
            return false;
        }
        text.remove_prefix(1);
        const std::size_t nameSize = fieldSize<'/', '['>(text);
        if (nameSize == 0 || nameSize > text.size()) {
            return false;
        }
        text.remove_prefix(nameSize);
        if (!skipAttributes(text)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool hasAttributes(TextSegment::Attributes attributes, TextSegment::Attributes wanted) noexcept {
    while (!wanted.empty()) {
        const auto [key, value] = takeAttribute(wanted.text);
        bool isFound = false;
        for (std::string_view rest = attributes.text; !isFound && !rest.empty();) {
            const auto candidate = takeAttribute(rest);
            isFound = candidate.first == key && (value == "*" || candidate.second == value);
        }
        if (!isFound) {
            return false;
        }
    }
    return true;
}

TextSegment takeSegment(std::string_view& rest) noexcept {
    rest.remove_prefix(1);
    const std::string_view name = rest.substr(0, fieldSize<'/', '['>(rest));
    rest.remove_prefix(name.size());
    const std::string_view attributes = rest;
    while (!rest.empty() && rest.front() == '[') {
        (void)takeAttribute(rest);
    }
    return {name, {attributes.substr(0, attributes.size() - rest.size())}};
}

std::string unescaped(std::string_view field) {
    std::string out;
    for (std::size_t size; (size = field.find('\\')) != std::string_view::npos; field.remove_prefix(size + 2)) {
        out.append(field.substr(0, size)).push_back(field[size + 1]);
    }
    return out.append(field);
}

std::variant<TextPath, std::string> TextPath::parse(std::string_view text) {
    TextPath path;
    if (text == "/") {
        return path;
    }
    if (isCanonical(text)) {
        path.text_ = text;
        return path;
    }
    SegmentReader reader(text);
    while (!reader.atEnd()) {
        std::string name;
        Attributes attributes;
        if (!reader.next(name, attributes)) {
            return reader.takeError();
        }
        appendSegment(path.text_, SegmentFields{name, attributes});
    }
    return path;
}

TextPath TextPath::append(std::string_view name, const Attributes& attributes) const {
    TextPath longer;
    longer.text_.reserve(text_.size() + expectedSegmentSize);
    longer.text_ = text_;
    appendSegment(longer.text_, SegmentFields{name, attributes});
    return longer;
}

TextPath TextPath::parent() const {
    TextPath shorter;
    const char* const leafName = leaf().name.data();
    shorter.text_.assign(text_.data(), leafName - 1);
    return shorter;
}

bool TextPath::startsWith(const TextPath& prefix) const noexcept {
    const std::size_t size = prefix.text_.size();
    return text_.compare(0, size, prefix.text_) == 0 && (size == text_.size() || text_[size] == '/');
}

bool TextPath::matchesPattern(const TextPath& pattern) const {
    const auto segmentsOf = [](std::string_view rest) {
        boost::container::small_vector<TextSegment, 10> segments;
        while (!rest.empty()) {
            segments.push_back(takeSegment(rest));
        }
        return segments;
    };
    return matches(segmentsOf(text_), segmentsOf(pattern.text_));
}

TextSegment TextPath::leaf() const noexcept {
    std::string_view rest = text_;
    TextSegment segment;
    do {
        segment = takeSegment(rest);
    } while (!rest.empty());
    return segment;
}

}  // namespace Benchmarks
