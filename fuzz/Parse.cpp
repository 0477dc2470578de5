// Feeds any text to the parser.

#include "robustness/Slots.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    {
        using namespace Robustness;
        const Slot slot = parse({reinterpret_cast<const char*>(data), size});
        check(slot);
        require(Tavik::parseObjectPath(slot.path.toString().view()) == slot.path, "a path reads back from its text");
    }
    Robustness::requireEmptyTables();
    return 0;
}
