// Prints the lines of files that hold a path which a pattern selects, as grep does for regular expressions.

#include <clocale>
#include <cstdio>
#include <new>

#include <fmt/format.h>

#include "Messages.h"
#include "Options.h"
#include "Search.h"

namespace {

int run(int argc, char** argv) {
    Options options = parseOptions(argc, argv);
    Search search(options);
    for (const char* file : options.files) {
        search.searchFile(file);
        if (search.isDecided()) {
            break;
        }
    }
    const int status = search.finish();
    if (options.countsNodes) {
        options.patterns = {};  // so that the tables hold exactly the nodes of the paths that were read
        sayLine(fmt::format("{} read, {} malformed, {} found; distinct nodes: {} segments, {} values", search.read(),
                            search.malformed(), search.selected(), Tavik::Impl::inspectSegmentTable().size(),
                            Tavik::Impl::inspectValueTable().size()));
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "");
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        std::fputs("objectpath-grep: out of memory\n", stderr);
        return errorStatus;
    }
}
