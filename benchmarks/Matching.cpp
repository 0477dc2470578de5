// Matching a path against patterns.

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

std::string repeat(std::string_view text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

void addWork(const std::string& work, const std::string& text, const std::string& patternText) {
    PathPeers::add(work, [text, patternText]<typename Peer>(benchmark::State& state) {
        const auto path = Peer::path(text);
        const auto pattern = Peer::path(patternText);
        measure(state, [&] { return Peer::matches(path, pattern); });
    });
}

}  // namespace

void addMatching() {
    addWork("match", Texts::sixSegments, Texts::pattern);
    addWork("match_trailing_dots", Texts::sixSegments, std::string(Texts::pattern) + "/...");
    addWork("match_fails", Texts::sixSegments, "/site/*/rack[row=5]");
    addWork("match_adversarial_200", repeat("/a", 200), "/.../a/.../a/.../a/.../b");
}

}  // namespace Benchmarks
