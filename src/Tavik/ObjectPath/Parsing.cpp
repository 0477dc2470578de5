// Reading a path from text.

#include <Tavik/Core/Format.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {
namespace {

/// Reads one text from left to right, field by field. A field without escapes is taken straight from the text, any
/// other from a buffer.
class Parser {
public:
    explicit Parser(std::string_view text) noexcept : rest_(text) {}

    std::variant<ObjectPath, String> parse() {
        while (readSegment()) {
        }
        if (!error_.empty()) {
            return std::move(error_);
        }
        return std::move(path_);
    }

private:
    /// What ended a field.
    enum class End { terminator, text, error };

    struct Field {
        std::string_view text;
        String unescaped;  // holds the text once it differs from the input

        void set(std::string_view run) noexcept {
            unescaped.clear();
            text = run;
        }
        void append(std::string_view run) noexcept {
            unescaped.append(run);
            text = unescaped.view();
        }
    };

    bool fail(String message) noexcept {
        error_ = std::move(message);
        return false;
    }

    bool failUnfinished(End end) noexcept { return end == End::text ? fail("an attribute is unfinished") : false; }

    /// Reads up to the first unescaped character of `terminators` and takes that, too.
    End readField(Field& field, std::string_view specials) noexcept {
        std::size_t size = rest_.find_first_of(specials);
        field.set(rest_.substr(0, size));
        while (size != std::string_view::npos && rest_[size] == '\\') {
            if (size + 1 == rest_.size()) {
                fail("an escape sequence is unfinished");
                return End::error;
            }
            const char escaped = rest_[size + 1];
            if (std::string_view("\\/=[]").find(escaped) == std::string_view::npos) {
                fail(formatString("\\{} is not a valid escape sequence", fmt::make_format_args(escaped)));
                return End::error;
            }
            if (field.unescaped.empty()) {
                field.append(field.text);
            }
            field.append(std::string_view(&escaped, 1));
            rest_.remove_prefix(size + 2);
            size = rest_.find_first_of(specials);
            field.append(rest_.substr(0, size));
        }
        if (size == std::string_view::npos) {
            rest_ = {};
            return End::text;
        }
        terminator_ = rest_[size];
        rest_.remove_prefix(size + 1);
        return End::terminator;
    }

    /// Returns whether another segment follows.
    bool readSegment() {
        const End end = readField(name_, "/[\\");
        if (end == End::error) {
            return false;
        }
        if (name_.text.empty()) {
            return end == End::text ? false : fail("a segment name cannot be empty");
        }
        if (end == End::terminator && terminator_ == '[') {
            return readAttributes();
        }
        path_ = path_.append(name_.text);
        return end == End::terminator;
    }

    /// Reads the attributes of the current segment and appends it. Returns whether another segment follows.
    bool readAttributes() {
        for (;;) {
            if (const End end = readField(key_, "=\\"); end != End::terminator) {
                return failUnfinished(end);
            }
            if (const End end = readField(value_, "]\\"); end != End::terminator) {
                return failUnfinished(end);
            }
            attributes_.emplace(key_.text, value_.text);
            const char next = rest_.empty() ? '/' : rest_.front();
            if (next == '/') {
                path_ = path_.append(name_.text, attributes_);
                attributes_.clear();
            } else if (next != '[') {
                return fail("an attribute or / was expected following ]");
            }
            if (rest_.empty()) {
                return false;
            }
            rest_.remove_prefix(1);
            if (next == '/') {
                return true;
            }
        }
    }

    std::string_view rest_;
    char terminator_ = '\0';
    Field name_;
    Field key_;
    Field value_;
    absl::btree_map<String, String> attributes_;
    ObjectPath path_;
    String error_;
};

}  // namespace

std::variant<ObjectPath, String> tryParseObjectPath(std::string_view text) noexcept {
    if (text == "/") {
        return ObjectPath();
    }
    if (!text.empty() && text.front() == '/') {
        text.remove_prefix(1);
    }
    return Parser(text).parse();
}

ObjectPath parseObjectPath(std::string_view text) noexcept {
    std::variant<ObjectPath, String> result = tryParseObjectPath(text);
    if (const String* message = std::get_if<String>(&result)) {
        Impl::vfmassertb("", __FILE__, __func__, __LINE__, "invalid object path because {}: \"{}\"",
                         fmt::make_format_args(*message, text));
    }
    return std::get<ObjectPath>(std::move(result));
}

}  // namespace Tavik
