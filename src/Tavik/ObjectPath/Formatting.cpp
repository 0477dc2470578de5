// Writing a path as text.

#include <cstring>
#include <ostream>

#include <Tavik/ObjectPath/Levels.h>
#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/Syntax.h>

namespace Tavik {
namespace {

using Impl::Field;

/// Collects a text in a chunk on the stack. A text that fits costs no allocation before the result is made, a longer one
/// as many as appending chunks to a string does.
class TextBuilder {
public:
    /// Room for `size` more bytes, at most that of a chunk. The caller says by `commit` where it stopped.
    [[nodiscard]] char* reserve(std::size_t size) noexcept {
        if (size > static_cast<std::size_t>(std::end(chunk_) - end_)) {
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
        if (text.size() > sizeof chunk_) {
            flush();
            text_.append(text);
        } else if (!text.empty()) {
            char* const to = reserve(text.size());
            std::memcpy(to, text.data(), text.size());
            commit(to + text.size());
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
    char* end_ = chunk_;
    char chunk_[512];
};

/// Writes a text with an escape before every character that is special in `field`.
void replace(TextBuilder& out, std::string_view text, Field field) noexcept {
    constexpr std::size_t pieceSize = 128;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, pieceSize);
        char* to = out.reserve(2 * pieceSize);
        for (const char character : piece) {
            *to = Impl::escape;
            to += Impl::isSpecial(character, field) ? 1 : 0;  // else it is overwritten
            *to++ = character;
        }
        out.commit(to);
        text.remove_prefix(piece.size());
    }
}

void escapeName(TextBuilder& out, const String& name) noexcept {
    replace(out, name.view(), Field::name);
}

void escapeAttributeKey(TextBuilder& out, const String& key) noexcept {
    replace(out, key.view(), Field::key);
}

void escapeAttributeValue(TextBuilder& out, const String& value) noexcept {
    replace(out, value.view(), Field::value);
}

void writeUnchanged(TextBuilder& out, const String& text) noexcept {
    out.append(text.view());
}

void writeSegment(TextBuilder& out, const Impl::Level& level, const ObjectPathStringConfig& config) noexcept {
    (config.escapeNames ? escapeName : writeUnchanged)(out, level.segment->name);
    const Impl::Value* value = level.values;
    for (const String& key : level.segment->attributeKeys) {
        out.append('[');
        (config.escapeAttributeKeys ? escapeAttributeKey : writeUnchanged)(out, key);
        out.append('=');
        (config.escapeAttributeValues ? escapeAttributeValue : writeUnchanged)(out, value->value);
        out.append(']');
        value = value->previous.get();
    }
}

}  // namespace

String ObjectPath::toString(const ObjectPathStringConfig& config) const {
    if (segment == nullptr) {
        return config.leadingSeparator ? String(config.separator) : String();
    }
    const Impl::Levels levels = Impl::levelsOf(*this);
    TextBuilder out;
    bool separate = config.leadingSeparator;
    for (std::size_t position = config.skipSegments; position < levels.size(); ++position) {
        if (separate) {
            out.append(config.separator);
        }
        separate = true;
        writeSegment(out, levels[levels.size() - 1 - position], config);
    }
    return out.finish();
}

String ObjectPath::toString() const {
    return toString(ObjectPathStringConfig{});
}

std::ostream& operator<<(std::ostream& out, const ObjectPath& path) {
    return out << path.toString();
}

}  // namespace Tavik
