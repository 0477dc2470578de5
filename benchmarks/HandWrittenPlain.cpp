#include "HandWrittenPlain.h"

namespace Benchmarks {
namespace {

using Path = HandWrittenPath<TreeMap>;

class PlainReader {
public:
    explicit PlainReader(std::string_view text) : text_(text) {
        if (!text_.empty() && text_.front() == '/') {
            ++position_;
        }
    }

    std::variant<Path, std::string> read() {
        while (error_.empty() && position_ < text_.size() && readSegment()) {
            path_.push(name_, attributes_);
        }
        if (!error_.empty()) {
            return std::move(error_);
        }
        return std::move(path_);
    }

private:
    bool fail(const std::string& message) {
        error_ = message;
        return false;
    }

    /// Reads up to one of `terminators`, which becomes `terminator_`; at the end of the text that is '\0'.
    bool readField(std::string& field, std::string_view terminators) {
        field.clear();
        terminator_ = '\0';
        while (position_ < text_.size()) {
            const char character = text_[position_++];
            if (terminators.find(character) != std::string_view::npos) {
                terminator_ = character;
                return true;
            }
            if (character != '\\') {
                field.push_back(character);
            } else if (!readEscaped(field)) {
                return false;
            }
        }
        return true;
    }

    bool readEscaped(std::string& field) {
        if (position_ == text_.size()) {
            return fail("an escape sequence is unfinished");
        }
        const char escaped = text_[position_++];
        if (std::string_view("\\/=[]").find(escaped) == std::string_view::npos) {
            return fail(std::string("\\") + escaped + " is not a valid escape sequence");
        }
        field.push_back(escaped);
        return true;
    }

    bool readSegment() {
        attributes_.clear();
        if (!readField(name_, "/[")) {
            return false;
        }
        if (name_.empty()) {
            return fail("a segment name cannot be empty");
        }
        while (terminator_ == '[') {
            if (!readAttribute()) {
                return false;
            }
        }
        return true;
    }

    bool readAttribute() {
        if (!readField(key_, "=") || (terminator_ != '\0' && !readField(value_, "]"))) {
            return false;
        }
        if (terminator_ == '\0') {
            return fail("an attribute is unfinished");
        }
        attributes_.emplace(key_, value_);
        terminator_ = position_ < text_.size() ? text_[position_++] : '/';
        return terminator_ == '/' || terminator_ == '[' || fail("an attribute or / was expected following ]");
    }

    std::string_view text_;
    std::size_t position_ = 0;
    char terminator_ = '\0';
    std::string name_;
    std::string key_;
    std::string value_;
    TreeMap attributes_;
    Path path_;
    std::string error_;
};

void appendEscaped(std::string& out, std::string_view text, std::string_view specials) {
    for (const char character : text) {
        if (specials.find(character) != std::string_view::npos) {
            out += '\\';
        }
        out += character;
    }
}

}  // namespace

std::variant<Path, std::string> parsePlainly(std::string_view text) {
    if (text == "/") {
        return Path();
    }
    return PlainReader(text).read();
}

std::string writePlainly(const Path& path) {
    std::string out;
    for (const Path::Segment& segment : path.segments()) {
        out += '/';
        appendEscaped(out, segment.name, "[/\\");
        for (const auto& [key, value] : segment.attributes) {
            out += '[';
            appendEscaped(out, key, "=\\");
            out += '=';
            appendEscaped(out, value, "]\\");
            out += ']';
        }
    }
    return out.empty() ? "/" : out;
}

}  // namespace Benchmarks
