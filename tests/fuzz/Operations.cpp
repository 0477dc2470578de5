// Interprets bytes as operations on a few paths.

#include <array>

#include "Bytes.h"
#include "Checks.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    std::array<Checks::Sample, 4> samples;
    for (Bytes bytes{{data, size}}; !bytes.rest.empty();) {
        Checks::Sample& target = samples[bytes.below(samples.size())];
        const Checks::Sample& left = samples[bytes.below(samples.size())];
        target = operate(bytes, left, samples[bytes.below(samples.size())]);
        for (const Checks::Sample& sample : samples) {
            check(target, sample);
            check(sample, target);
        }
    }
    samples = {};
    Checks::requireEmptyTables();
    return 0;
}
