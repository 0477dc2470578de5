// Write paths in forms other than the canonical one. Only the canonical text is guaranteed to be read back to the same
// path.

#include <iostream>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;
using Tavik::ObjectPathStringConfig;

int main() {
    const ObjectPath file = ObjectPath().append("disk", {{"label", "[1]"}}).append("etc/fstab");
    std::cout << file << '\n';  // /disk[label=[1\]]/etc\/fstab

    ObjectPathStringConfig readable;
    readable.escapeNames = false;
    readable.escapeAttributeValues = false;
    std::cout << file.toString(readable) << '\n';  // /disk[label=[1]]/etc/fstab

    ObjectPathStringConfig relative;
    relative.skipSegments = 1;
    relative.leadingSeparator = false;
    std::cout << file.toString(relative) << '\n';  // etc\/fstab

    ObjectPathStringConfig breadcrumbs;
    breadcrumbs.separator = " > ";
    breadcrumbs.leadingSeparator = false;
    std::cout << file.toString(breadcrumbs) << '\n';  // disk[label=[1\]] > etc\/fstab

    // In a format string, width and alignment apply as for any string.
    std::cout << fmt::format("{:.>20}", ObjectPath().append("disk")) << '\n';  // .............../disk
}
