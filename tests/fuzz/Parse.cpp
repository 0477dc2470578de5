// Parses any text.

#include "Slots.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    Slots::requireEmptyTables();
    const Slots::Slot slot = Slots::parse({data, size});
    check(slot);
    Slots::require(Tavik::parseObjectPath(slot.path.toString().view()) == slot.path, "a path reads back");
    return 0;
}
