// Interprets bytes as operations on a few paths.

#include <array>

#include "Slots.h"

namespace {

/// Makes choices from bytes: 0, or the empty text, when there are none left.
struct Bytes {
    std::string_view rest;

    std::string_view take(std::size_t size) {
        const std::string_view taken = rest.substr(0, size);
        rest.remove_prefix(taken.size());
        return taken;
    }
    std::size_t below(std::size_t end) { return rest.empty() ? 0 : static_cast<unsigned char>(take(1).front()) % end; }
    std::string text() { return std::string(take(below(40))); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    Slots::requireEmptyTables();
    std::array<Slots::Slot, 4> slots;
    for (Bytes bytes{{data, size}}; !bytes.rest.empty();) {
        Slots::Slot& target = slots[bytes.below(slots.size())];
        const Slots::Slot& left = slots[bytes.below(slots.size())];
        target = operate(bytes, left, slots[bytes.below(slots.size())]);
        for (const Slots::Slot& slot : slots) {
            check(target, slot);
            check(slot, target);
        }
    }
    return 0;
}
