// Writing a path as text.

#include <algorithm>
#include <ostream>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Paths/Levels.h>
#include <Tavik/ObjectPath/Text/Syntax.h>

namespace Tavik {
namespace {

using Impl::Field;

/// Collects text in a chunk on the stack. Text that fits costs no allocation but that of the result; longer text costs
/// as many as appending chunks to a string does.
class TextBuilder {
public:
    static constexpr std::size_t capacity = 512;

    /// Room for `size` more bytes, at most `capacity`. The caller passes the end of what it wrote to `commit`.
    [[nodiscard]] char* reserve(std::size_t size) noexcept {
        if (size > static_cast<std::size_t>(chunk_ + capacity - end_)) {
            flush();
        }
        return end_;
    }
    void commit(char* end) noexcept { end_ = end; }

    void append(char character) noexcept {
        char* const to = reserve(1);
        *to = character;
        commit(to + 1);
    }

    void append(std::string_view text) noexcept {
        if (text.size() == 1) {  // as most separators are
            append(text.front());
        } else if (text.size() <= capacity) {
            commit(std::copy(text.begin(), text.end(), reserve(text.size())));
        } else {
            flush();
            text_.append(text);
        }
    }

    [[nodiscard]] String finish() noexcept {
        flush();
        return std::move(text_);
    }

private:
    void flush() noexcept {
        text_.append(std::string_view(chunk_, static_cast<std::size_t>(end_ - chunk_)));
        end_ = chunk_;
    }

    String text_;
    char chunk_[capacity];
    char* end_ = chunk_;
};

/// Writes a field, with an escape before every character that is special in it if `escapes`.
template <Field field>
void writeField(TextBuilder& out, std::string_view text, bool escapes) noexcept {
    if (!escapes) {
        out.append(text);
        return;
    }
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, TextBuilder::capacity / 2);
        char* to = out.reserve(2 * piece.size());
        for (const char character : piece) {
            if (Impl::isSpecial(character, field)) {
                *to++ = Impl::escape;
            }
            *to++ = character;
        }
        out.commit(to);
        text.remove_prefix(piece.size());
    }
}

void writeSegment(TextBuilder& out, const Impl::Level& level, const ObjectPathStringConfig& config) noexcept {
    writeField<Field::name>(out, level.segment->name, config.escapeNames);
    for (const auto& [key, value] : attributesOf(level)) {
        out.append('[');
        writeField<Field::key>(out, key, config.escapeAttributeKeys);
        out.append('=');
        writeField<Field::value>(out, value, config.escapeAttributeValues);
        out.append(']');
    }
}

String writeLevels(const Impl::Levels& levels, const ObjectPathStringConfig& config) noexcept {
    TextBuilder out;
    bool separate = config.leadingSeparator;
    for (std::size_t position = config.skipSegments; position < levels.size(); ++position) {
        if (separate) {
            out.append(config.separator);
        }
        separate = true;
        writeSegment(out, levels[position], config);
    }
    return out.finish();
}

}  // namespace

String ObjectPath::toString(const ObjectPathStringConfig& config) const {
    if (segment == nullptr) {
        return config.leadingSeparator ? String(config.separator) : String();
    }
    return writeLevels(Impl::levelsOf(*this), config);
}

String ObjectPath::toString() const {
    return toString(ObjectPathStringConfig{});
}

String ObjectPathSegment::toString() const noexcept {
    TAVIK_OBJECT_PATH_REQUIRE(segment != nullptr, "unexpected empty segment", {});
    return ObjectPath::View{&segment, &values}.toString();
}

String ObjectPath::View::toString() const noexcept {
    if (isRoot()) {
        return "/";
    }
    return writeLevels({{segment->get(), values->get()}}, {.leadingSeparator = false});
}

std::ostream& operator<<(std::ostream& out, const ObjectPath& path) {
    return out << path.toString();
}

std::ostream& operator<<(std::ostream& out, const ObjectPathSegment& segment) {
    return out << segment.toString();
}

std::ostream& operator<<(std::ostream& out, const ObjectPath::View& view) {
    return out << view.toString();
}

}  // namespace Tavik
