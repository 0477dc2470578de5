// Writing a path as text.

#include <cstring>
#include <ostream>

#include <Tavik/ObjectPath/Levels.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {
namespace {

/// Collects a text. Up to the size of the chunk it costs no allocation before the result is made, and beyond it as many
/// as appending to a string does.
class TextBuilder {
public:
    void append(std::string_view text) noexcept {
        if (text.size() > sizeof chunk_ - used_) {
            flush();
            if (text.size() > sizeof chunk_) {
                text_.append(text);
                return;
            }
        }
        if (!text.empty()) {
            std::memcpy(chunk_ + used_, text.data(), text.size());
            used_ += text.size();
        }
    }

    [[nodiscard]] String finish() noexcept {
        flush();
        return std::move(text_);
    }

private:
    void flush() noexcept {
        text_.append(std::string_view(chunk_, used_));
        used_ = 0;
    }

    String text_;
    std::size_t used_ = 0;
    char chunk_[512];
};

/// Writes a text with every character for which `table` has a replacement replaced.
template <const char* (*table)(char)>
void replace(TextBuilder& out, std::string_view text) noexcept {
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (const char* replacement = table(text[i])) {
            out.append(text.substr(start, i - start));
            out.append(replacement);
            start = i + 1;
        }
    }
    out.append(text.substr(start));
}

constexpr const char* nameEscape(char character) noexcept {
    switch (character) {
        case '[':
            return "\\[";
        case '\\':
            return "\\\\";
        case '/':
            return "\\/";
        default:
            return nullptr;
    }
}

constexpr const char* attributeKeyEscape(char character) noexcept {
    switch (character) {
        case '=':
            return "\\=";
        case '\\':
            return "\\\\";
        default:
            return nullptr;
    }
}

constexpr const char* attributeValueEscape(char character) noexcept {
    switch (character) {
        case '\\':
            return "\\\\";
        case ']':
            return "\\]";
        default:
            return nullptr;
    }
}

void escapeName(TextBuilder& out, const String& name) noexcept {
    replace<nameEscape>(out, name.view());
}

void escapeAttributeKey(TextBuilder& out, const String& key) noexcept {
    replace<attributeKeyEscape>(out, key.view());
}

void escapeAttributeValue(TextBuilder& out, const String& value) noexcept {
    replace<attributeValueEscape>(out, value.view());
}

void writeUnchanged(TextBuilder& out, const String& text) noexcept {
    out.append(text.view());
}

void writeSegment(TextBuilder& out, const Impl::Level& level, const ObjectPathStringConfig& config) noexcept {
    (config.escapeNames ? escapeName : writeUnchanged)(out, level.segment->name);
    const Impl::Value* value = level.values;
    for (const String& key : level.segment->attributeKeys) {
        out.append("[");
        (config.escapeAttributeKeys ? escapeAttributeKey : writeUnchanged)(out, key);
        out.append("=");
        (config.escapeAttributeValues ? escapeAttributeValue : writeUnchanged)(out, value->value);
        out.append("]");
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
    for (std::size_t skipped = config.skipSegments; skipped < levels.size(); ++skipped) {
        if (separate) {
            out.append(config.separator);
        }
        separate = true;
        writeSegment(out, levels[levels.size() - 1 - skipped], config);
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
