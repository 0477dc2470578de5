// A program for the debugger to look at.

#include <utility>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

volatile bool stopped = false;

void stop() {
    stopped = true;
}

}  // namespace

int main() {
    using Tavik::ObjectPath;
    using Tavik::String;

    const ObjectPath root;
    const ObjectPath port = ObjectPath().append("dev", {{"id", "3"}, {"bus", "pci"}}).append("port");
    const ObjectPath odd = ObjectPath().append("a/[\\", {{"x=\\", "[1]\\"}}).append("\xc3\xa9\xff");
    const ObjectPath longer = port.append("a name that is too long for the string itself", {{"", ""}});
    const Tavik::ObjectPathSegment device = *port.parent()->leaf();
    const Tavik::ObjectPathSegment leaf = *longer.leaf();
    const Tavik::ObjectPathSegment none;

    const String empty;
    const String shorter = "short";
    const String full = std::string_view("0123456789012345678901234567890").substr(0, String::inlineCapacity);
    const String buffered = "0123456789012345678901234567890";
    const String bytes = std::string_view("\0\"\\\xff", 4);

    stop();
    return stopped ? 0 : 1;
}
