// Interprets bytes as changes of a set of patterns.

#include "Bytes.h"
#include "SetChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    {
        Checks::ListedSet set;
        for (Bytes bytes{{data, size}}; !bytes.rest.empty();) {
            set.change(bytes, bytes.below(4) > 0);
        }
    }
    Checks::requireEmptyTables();
    return 0;
}
