#include "Json.h"

#include <fmt/format.h>

namespace {

/// The size of the character of UTF-8 that `bytes` begin with; 0 if there is none.
std::size_t sizeOfCharacter(std::string_view bytes) noexcept {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    const unsigned first = byteAt(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || bytes.size() < size) {
        return 0;
    }
    for (std::size_t index = 1; index < size; ++index) {
        if ((byteAt(index) & 0xc0U) != 0x80) {
            return 0;
        }
    }
    // What is too long, a surrogate, or beyond the last character
    const unsigned second = byteAt(1);
    const bool isInvalid = (first == 0xe0 && second < 0xa0) || (first == 0xed && second >= 0xa0) ||
                           (first == 0xf0 && second < 0x90) || (first == 0xf4 && second >= 0x90);
    return isInvalid ? 0 : size;
}

void appendString(std::string& json, std::string_view bytes) {
    json += '"';
    while (!bytes.empty()) {
        const std::size_t size = sizeOfCharacter(bytes);
        const char first = bytes.front();
        if (size == 0) {
            json += "\\ufffd";
        } else if (first == '"' || first == '\\') {
            json += {'\\', first};
        } else if (size == 1 && (first < ' ' || first == '\x7f')) {
            json += fmt::format("\\u{:04x}", static_cast<unsigned>(first));
        } else {
            json += bytes.substr(0, size);
        }
        bytes.remove_prefix(size == 0 ? 1 : size);
    }
    json += '"';
}

void appendSegment(std::string& json, const Tavik::ObjectPath::View& segment) {
    json += R"({"name":)";
    appendString(json, segment.name());
    json += R"(,"attributes":{)";
    const char* separator = "";
    for (const auto& [key, value] : segment.attributeRange()) {
        json += separator;
        appendString(json, key);
        json += ':';
        appendString(json, value);
        separator = ",";
    }
    json += "}}";
}

}  // namespace

std::string toJson(std::string_view file, std::size_t line, const Tavik::ObjectPath& path) {
    std::string json = R"({"file":)";
    appendString(json, file);
    json += fmt::format(R"(,"line":{},"path":)", line);
    appendString(json, path.toString());
    json += R"(,"segments":[)";
    const char* separator = "";
    for (const auto& segment : path.views()) {
        json += separator;
        appendSegment(json, segment);
        separator = ",";
    }
    json += "]}";
    return json;
}
