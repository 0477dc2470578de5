// Reading a path from text.

#include <algorithm>

#include <Tavik/Core/Format.h>
#include <Tavik/ObjectPath/Building.h>
#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Syntax.h>

namespace Tavik {
namespace {

using Impl::Field;

/// The attributes of one segment: keys and values side by side, in ascending order of distinct keys once `sort` has
/// run. Emptied and used again for each segment.
class Attributes {
public:
    [[nodiscard]] std::vector<String>& keys() noexcept { return keys_; }

    void add(std::string_view key, std::string_view value) {
        keys_.push_back(Impl::StringCommon<char>::dedup(key));
        values_.push_back(Impl::StringCommon<char>::dedup(value));
    }

    /// Orders by key and leaves the first of several attributes with the same key. Attributes that are in order
    /// already, as in every text that a path was written as, cost one comparison each.
    void sort() {
        const auto inOrder = [](const String& left, const String& right) { return !(left < right); };
        if (std::adjacent_find(keys_.begin(), keys_.end(), inOrder) == keys_.end()) {
            return;
        }
        absl::btree_map<String, String> sorted;
        for (std::size_t i = 0; i < keys_.size(); ++i) {
            sorted.emplace(std::move(keys_[i]), std::move(values_[i]));
        }
        clear();
        for (auto& [key, value] : sorted) {
            keys_.push_back(key);
            values_.push_back(std::move(value));
        }
    }

    /// The value chain `chain` with these values before it.
    [[nodiscard]] std::shared_ptr<const Impl::Value> prependTo(std::shared_ptr<const Impl::Value> chain) const {
        for (auto value = values_.rbegin(); value != values_.rend(); ++value) {
            chain = Impl::prependValue(*value, std::move(chain));
        }
        return chain;
    }

    void clear() noexcept {
        keys_.clear();
        values_.clear();
    }

private:
    std::vector<String> keys_;
    boost::container::small_vector<String, 4> values_;
};

/// The text of one field: a part of the input, or a buffer when the field holds escapes.
class FieldText {
public:
    [[nodiscard]] std::string_view view() const noexcept { return text_; }

    void assign(std::string_view run) noexcept { text_ = run; }

    /// Adds what follows an escape: the escaped character and the run after it.
    void append(std::string_view run) noexcept {
        if (text_.data() != unescaped_.view().data()) {
            unescaped_.clear();
            unescaped_.append(text_);
        }
        unescaped_.append(run);
        text_ = unescaped_.view();
    }

private:
    std::string_view text_;
    String unescaped_;
};

/// Reads one text from left to right, field by field.
class Parser {
public:
    explicit Parser(std::string_view text) noexcept : rest_(text) { Impl::ensureThreadSafePointers(); }

    std::variant<ObjectPath, String> parse() {
        while (readSegment()) {
        }
        if (!error_.empty()) {
            return std::move(error_);
        }
        return std::move(path_);
    }

private:
    /// What a field ended with.
    enum class End { terminator, text, error };

    /// Reads a field and the character that ends it, which becomes `terminator_`.
    End readField(FieldText& text, Field field) noexcept {
        std::size_t size = Impl::plainPrefix(rest_, field);
        text.assign(rest_.substr(0, size));
        while (size < rest_.size() && rest_[size] == Impl::escape) {
            rest_.remove_prefix(size + 1);
            if (!checkEscape()) {
                return End::error;
            }
            size = 1 + Impl::plainPrefix(rest_.substr(1), field);
            text.append(rest_.substr(0, size));
        }
        if (size == rest_.size()) {
            rest_ = {};
            return End::text;
        }
        terminator_ = rest_[size];
        rest_.remove_prefix(size + 1);
        return End::terminator;
    }

    /// Whether the rest begins with a character that may be escaped.
    bool checkEscape() noexcept {
        if (rest_.empty()) {
            return fail("an escape sequence is unfinished");
        }
        if (!Impl::isEscapable(rest_.front())) {
            return fail(formatString("\\{} is not a valid escape sequence", fmt::make_format_args(rest_.front())));
        }
        return true;
    }

    /// Returns whether another segment may follow.
    bool readSegment() {
        const End end = readField(name_, Field::name);
        if (end == End::error) {
            return false;
        }
        if (name_.view().empty()) {
            return end == End::text ? false : fail("a segment name cannot be empty");
        }
        if (end == End::terminator && terminator_ == '[') {
            return readAttributes();
        }
        commitSegment();
        return end == End::terminator;
    }

    /// Reads the attributes of the current segment and commits it. Returns whether another segment may follow.
    bool readAttributes() {
        do {
            if (!readAttribute()) {
                return false;
            }
            if (rest_.empty()) {
                commitSegment();
                return false;
            }
            terminator_ = rest_.front();
            rest_.remove_prefix(1);
        } while (terminator_ == '[');
        if (terminator_ != '/') {
            return fail("an attribute or / was expected following ]");
        }
        commitSegment();
        return true;
    }

    bool readAttribute() {
        End end = readField(key_, Field::key);
        if (end == End::terminator) {
            end = readField(value_, Field::value);
        }
        if (end != End::terminator) {
            return end == End::text ? fail("an attribute is unfinished") : false;
        }
        attributes_.add(key_.view(), value_.view());
        return true;
    }

    void commitSegment() {
        attributes_.sort();
        path_.values = attributes_.prependTo(std::move(path_.values));
        path_ = Impl::closeSegment(path_.segment, std::move(path_.values), name_.view(), attributes_.keys());
        attributes_.clear();
    }

    bool fail(String message) noexcept {
        error_ = std::move(message);
        return false;
    }

    std::string_view rest_;
    char terminator_ = '\0';
    FieldText name_;
    FieldText key_;
    FieldText value_;
    Attributes attributes_;
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
