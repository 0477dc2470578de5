#include "Format.h"

#include "SyntaxError.h"

Format::Format(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        const char character = text[offset];
        if (character == '\\') {
            parseBackslash(text, offset);
        } else if (character == '{' || character == '}') {
            parseBrace(text, offset);
        } else {
            addText(character);
        }
    }
}

// Both leave `offset` at the last character that they read.

void Format::parseBackslash(std::string_view text, std::size_t& offset) {
    static constexpr std::string_view escapes = "nt\\";
    const std::size_t index = ++offset < text.size() ? escapes.find(text[offset]) : std::string_view::npos;
    if (index == std::string_view::npos) {
        throw SyntaxError("only \\n, \\t and \\\\ are escapes here", offset);
    }
    addText("\n\t\\"[index]);
}

void Format::parseBrace(std::string_view text, std::size_t& offset) {
    const char first = text[offset];
    const std::string_view rest = text.substr(++offset);
    if (rest.starts_with(first)) {
        addText(first);
    } else if (first == '}') {
        throw SyntaxError("a } alone is written as }}", offset - 1);
    } else if (rest.starts_with('}')) {
        parts_.emplace_back(WholePath());
    } else {
        parts_.emplace_back(Field(text, offset, "{}"));
        if (offset == text.size() || text[offset] != '}') {
            throw SyntaxError("a } is missing", offset);
        }
    }
}

void Format::addText(char character) {
    if (parts_.empty() || !std::holds_alternative<std::string>(parts_.back())) {
        parts_.emplace_back(std::string());
    }
    std::get<std::string>(parts_.back()) += character;
}

std::string_view Format::of(const Tavik::ObjectPath& path) {
    result_.clear();
    for (const auto& part : parts_) {
        if (const auto* text = std::get_if<std::string>(&part)) {
            result_ += *text;
        } else if (const auto* field = std::get_if<Field>(&part)) {
            if (const Tavik::String* value = field->in(path)) {
                result_ += value->view();
            }
        } else {
            result_ += path.toString().view();
        }
    }
    return result_;
}
