// Reads bytes as operations on a few paths.

#include <array>

#include "robustness/Slots.h"

namespace {

using Robustness::Slot;

/// Makes choices from bytes; the first one, or the empty text, when there are no more.
class Bytes {
public:
    explicit Bytes(std::string_view bytes) : rest_(bytes) {}

    [[nodiscard]] bool empty() const { return rest_.empty(); }

    std::size_t below(std::size_t bound) {
        const std::string_view byte = take(1);
        return byte.empty() ? 0 : static_cast<unsigned char>(byte.front()) % bound;
    }

    /// A word with a meaning, a byte repeated to all kinds of lengths, or a few bytes.
    std::string text() {
        constexpr std::array words = {"*", "...", "", "a"};
        const std::size_t choice = below(40);
        if (choice < words.size()) {
            return words[choice];
        }
        return choice < 32 ? std::string(choice, static_cast<char>(below(256))) : std::string(take(choice - 32));
    }

private:
    std::string_view take(std::size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest_;
};

void operateOn(Bytes bytes) {
    std::array<Slot, 4> slots;
    while (!bytes.empty()) {
        const std::size_t target = bytes.below(slots.size());
        const Slot& left = slots[bytes.below(slots.size())];
        slots[target] = operate(bytes, left, slots[bytes.below(slots.size())]);
        for (const Slot& slot : slots) {
            check(slots[target], slot);
            check(slot, slots[target]);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    operateOn(Bytes({reinterpret_cast<const char*>(data), size}));
    Robustness::requireEmptyTables();
    return 0;
}
