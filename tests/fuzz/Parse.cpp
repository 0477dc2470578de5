// Parses any text.

#include "robustness/Slots.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    Robustness::requireEmptyTables();
    const Robustness::Slot slot = Robustness::parse({data, size});
    check(slot);
    Robustness::require(Tavik::parseObjectPath(slot.path.toString().view()) == slot.path, "a path reads back");
    return 0;
}
