// Parses any text.

#include "Checks.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    Checks::requireEmptyTables();
    const Checks::Sample sample = Checks::parse({data, size});
    check(sample);
    Checks::require(Tavik::parseObjectPath(sample.path.toString()) == sample.path, "a path reads back");
    return 0;
}
