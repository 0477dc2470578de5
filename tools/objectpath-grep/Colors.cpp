#include "Colors.h"

#include <algorithm>
#include <cstdlib>

#include <unistd.h>

namespace {

std::string_view environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

bool usesColors(Coloring coloring) {
    if (coloring != Coloring::automatic) {
        return coloring == Coloring::always;
    }
    const std::string_view terminal = environment("TERM");
    return isatty(STDOUT_FILENO) != 0 && !terminal.empty() && terminal != "dumb" && environment("NO_COLOR").empty();
}

std::size_t countMatchedSegments(const Tavik::ObjectPathPatternSet& patterns, const Tavik::ObjectPath& path) {
    if (patterns.matchesAny({})) {
        return 0;
    }
    // What selects a path selects all paths below it.
    const auto views = path.views();
    const auto* const last = std::partition_point(views.begin(), views.end(),
                                                  [&](const auto& view) { return !patterns.matchesAny(view.path()); });
    return static_cast<std::size_t>(last - views.begin()) + 1;
}
