// Count nodes in the interning tables to see what paths share. The size of a table is the number of living nodes.

#include <iostream>
#include <string>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

void show(const char* moment) {
    std::cout << moment << ": " << Tavik::Impl::inspectSegmentTable().size() << " segments, "
              << Tavik::Impl::inspectValueTable().size() << " values\n";
}

}  // namespace

int main() {
    // No other thread uses paths here. Otherwise, hold the mutex of a table while reading it.
    show("At first");

    std::vector<ObjectPath> paths;
    for (int id = 0; id < 1000; ++id) {
        const ObjectPath device = ObjectPath().append("dev", {{"bus", "pci"}, {"id", std::to_string(id)}});
        paths.push_back(device.append("port"));
    }
    show("With 1000 paths that differ in one value");

    std::vector<ObjectPath> copies = paths;
    show("With a copy of each");

    paths.clear();
    show("Without the originals");

    ObjectPath queue = copies.front().append("queue");
    show("With one path below one of them");

    copies.clear();
    show("With that one alone");

    queue = ObjectPath();
    show("At last");
}
