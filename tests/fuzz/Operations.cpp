// Interprets bytes as operations on a few paths.

#include <array>

#include "Checks.h"

namespace {

/// Makes choices from bytes: 0, or the empty string, when there are none left.
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
