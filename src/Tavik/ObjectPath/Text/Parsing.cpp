// Reading a path from text.

#include <vector>

#include <Tavik/Core/Format.h>
#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/AttributeList.h>
#include <Tavik/ObjectPath/Paths/Building.h>
#include <Tavik/ObjectPath/Paths/Finding.h>
#include <Tavik/ObjectPath/Text/LastParent.h>
#include <Tavik/ObjectPath/Text/Syntax.h>

namespace Tavik {
namespace {

using Impl::Field;
using Impl::TextRef;

/// Whether a path is built of what is read, or only found if it is alive.
enum class Purpose { build, find };

/// Reads one string from left to right. Functions that return `bool` say whether it is well-formed, and found, so far;
/// if it is not well-formed, the error is set, and `rest_` begins at the place of the error. To find a path needs no
/// error.
template <Purpose purpose>
class Parser {
public:
    explicit Parser(std::string_view text) noexcept : text_(text.substr(text.starts_with('/') ? 1 : 0)), rest_(text_) {}

    /// Reads all segments. The end of the text acts as a "/".
    bool parse() {
        if (const std::size_t found = resumption_.find(text_, path_)) {
            rest_.remove_prefix(found);
            skip('/');
        }
        while (!rest_.empty()) {
            if (!readSegment()) {
                return false;
            }
        }
        resumption_.remember(text_, path_);
        return true;
    }

    [[nodiscard]] ObjectPath& path() noexcept { return path_; }
    [[nodiscard]] String& error() noexcept { return error_; }
    [[nodiscard]] std::string_view rest() const noexcept { return rest_; }

private:
    /// Reads a segment and the "/" after it.
    bool readSegment() {
        TextRef name;
        if (!readField(name, Field::name)) {
            return false;
        }
        if (name.empty()) {
            return fail("a segment name cannot be empty");
        }
        while (skip('[')) {
            if (!readAttribute()) {
                return false;
            }
        }
        resumption_.noteLevel(text_.size() - rest_.size());
        if (!rest_.empty() && !skip('/')) {
            return fail("an attribute or / was expected following ]");
        }
        if constexpr (purpose == Purpose::build) {
            path_ = Impl::appendSegment(std::move(path_), name, attributes_.list());
        } else if (!Impl::findSegment(path_, name, attributes_.list())) {
            return false;
        }
        attributes_.clear();
        unescaped_.clear();
        return true;
    }

    /// Reads an attribute and the "]" after it. Of several with the same key, the first is kept.
    bool readAttribute() {
        const std::size_t unescapedBefore = unescaped_.size();
        TextRef key;
        TextRef value;
        if (!readField(key, Field::key) || !skipEnd('=') || !readField(value, Field::value) || !skipEnd(']')) {
            return false;
        }
        if (!attributes_.add(key, value)) {
            unescaped_.resize(unescapedBefore);
        }
        return true;
    }

    /// Reads a field up to the character that ends it.
    bool readField(TextRef& text, Field field) {
        const std::string_view run = takeRun(field);
        if (rest_.empty() || rest_.front() != Impl::escape) {
            text = run;
            return true;
        }
        String unescaped(run);
        while (skip(Impl::escape)) {
            if (!checkEscape()) {
                return false;
            }
            unescaped.append(takeRun(field, 1));
        }
        text = unescaped_.emplace_back(std::move(unescaped));
        return true;
    }

    /// Consumes `size` characters and those after them that have no special meaning in `field`.
    std::string_view takeRun(Field field, std::size_t size = 0) noexcept {
        size += Impl::plainPrefix(rest_.substr(size), field);
        const std::string_view run = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return run;
    }

    /// Whether the rest begins with a character that may be escaped.
    bool checkEscape() noexcept {
        if (rest_.empty()) {
            return fail("an escape sequence is unfinished");
        }
        if (!Impl::isEscapable(rest_.front())) {
            return fail("\\{} is not a valid escape sequence", rest_.front());
        }
        return true;
    }

    /// Skips the character that ends a field of an attribute. It can only be missing where the text ends.
    bool skipEnd(char character) noexcept { return skip(character) || fail("an attribute is unfinished"); }

    /// Skips `character` if it is next.
    bool skip(char character) noexcept {
        const bool isNext = !rest_.empty() && rest_.front() == character;
        rest_.remove_prefix(isNext ? 1 : 0);
        return isNext;
    }

    /// `character` takes the place of "{}".
    [[gnu::noinline, gnu::cold]] bool fail(const char* message, char character = '\0') noexcept {
        if constexpr (purpose == Purpose::build) {
            error_ = formatString(message, fmt::make_format_args(character));
        }
        return false;
    }

    std::string_view text_;  // without the first "/"
    std::string_view rest_;
    Impl::ParseResumption resumption_;
    Impl::AttributeList attributes_;
    std::vector<String> unescaped_;  // fields with escapes, to which the current name and attributes refer
    ObjectPath path_;
    String error_;
};

}  // namespace

std::variant<ObjectPath, String> tryParseObjectPath(std::string_view text, std::size_t& errorOffset) noexcept {
    Parser<Purpose::build> parser(text);
    if (parser.parse()) {
        return std::move(parser.path());
    }
    errorOffset = text.size() - parser.rest().size();
    return std::move(parser.error());
}

std::variant<ObjectPath, String> tryParseObjectPath(std::string_view text) noexcept {
    std::size_t ignored = 0;
    return tryParseObjectPath(text, ignored);
}

std::optional<ObjectPath> findObjectPath(std::string_view text) noexcept {
    Parser<Purpose::find> parser(text);
    return parser.parse() ? std::optional(std::move(parser.path())) : std::nullopt;
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
