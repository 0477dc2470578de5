/// @file
/// Internal: the representation that `String` and `TextRef` share.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Tavik::Impl {

/// The two words that represent a string. A short string fills the leading bytes, unused ones are zero, and the last
/// byte holds its size. A long string is elsewhere: the first word refers to it, the last word holds its size, and the
/// last byte says what the first word is. A string that fits inline is always held inline, so the words of equal short
/// strings are equal.
class TextWords {
public:
    /// The size of the longest string that is held inline.
    static constexpr std::size_t inlineCapacity = 15;

protected:
    static constexpr unsigned tagShift = 56;
    static constexpr std::uint64_t sizeMask = (std::uint64_t{1} << tagShift) - 1;

    [[nodiscard]] std::size_t tag() const noexcept { return words_[1] >> tagShift; }
    [[nodiscard]] bool isLong() const noexcept { return tag() > inlineCapacity; }
    [[nodiscard]] std::size_t longSize() const noexcept { return words_[1] & sizeMask; }
    [[nodiscard]] const char* inlineBytes() const noexcept { return reinterpret_cast<const char*>(words_); }
    [[nodiscard]] char* inlineBytes() noexcept { return reinterpret_cast<char*>(words_); }
    [[nodiscard]] bool hasSameWords(const TextWords& other) const noexcept {
        return std::memcmp(words_, other.words_, sizeof words_) == 0;
    }

    /// Assembles the words in registers: they are about to be loaded whole, and a load spanning recent narrower stores
    /// cannot be forwarded. Two loads that may overlap cover a string of any size.
    void assignInline(std::string_view text) noexcept {
        const char* const from = text.data();
        const std::size_t size = text.size();
        words_[1] = std::uint64_t{size} << tagShift;
        if (size >= 8) {
            words_[0] = load<std::uint64_t>(from);
            // Two shifts, because eight bytes leave none for this word, and one shift by 64 bits would be undefined.
            words_[1] |= load<std::uint64_t>(from + size - 8) >> (8 * (15 - size)) >> 8;
        } else if (size >= 4) {
            words_[0] = load<std::uint32_t>(from) | load<std::uint32_t>(from + size - 4) << (8 * (size - 4));
        } else if (size >= 2) {
            words_[0] = load<std::uint16_t>(from) | load<std::uint16_t>(from + size - 2) << (8 * (size - 2));
        } else {
            words_[0] = size == 1 ? load<unsigned char>(from) : 0;
        }
    }
    void assignLong(const void* referred, std::size_t size, std::uint64_t tag) noexcept {
        words_[0] = reinterpret_cast<std::uint64_t>(referred);
        words_[1] = tag << tagShift | size;
    }

    std::uint64_t words_[2] = {};

private:
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the last byte is the highest one of the last word");
    static_assert(sizeof(void*) == sizeof(std::uint64_t), "a word may hold an address");

    template <typename Word>
    [[nodiscard]] static std::uint64_t load(const char* from) noexcept {
        Word word;
        std::memcpy(&word, from, sizeof word);
        return word;
    }
};

}  // namespace Tavik::Impl
