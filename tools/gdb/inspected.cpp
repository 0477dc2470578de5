// A program for the debugger to look at.

#include <string_view>

#include <Tavik/ObjectPath/ObjectPath.h>
#include <Tavik/ObjectPath/PatternSet.h>

namespace {

volatile bool stopped = false;

void stop([[maybe_unused]] const Tavik::ObjectPath& pathArgument,
          [[maybe_unused]] const Tavik::String& stringArgument,
          [[maybe_unused]] const Tavik::String* pointerArgument) {
    stopped = true;
}

}  // namespace

int main() {
    using Tavik::ObjectPath;
    using Tavik::String;

    const ObjectPath root;
    const ObjectPath port = ObjectPath().append("dev", {{"id", "3"}, {"bus", "pci"}}).append("port");
    const ObjectPath odd = ObjectPath().append("a/[\\", {{"x=\\", "[1]\\"}}).append("\xc3\xa9\xff\x1b");
    const ObjectPath longer = port.append("a name that is too long for the string itself", {{"", ""}});
    const Tavik::ObjectPathSegment device = *port.parent()->leaf();
    const Tavik::ObjectPathSegment leaf = *longer.leaf();
    const Tavik::ObjectPathSegment none;
    const ObjectPath::Segments segments = longer.explode();
    const ObjectPath::Segments noSegments = root.explode();
    [[maybe_unused]] const ObjectPath::View view = longer.toView().parent().parent();
    [[maybe_unused]] const ObjectPath::View viewOfRoot = root.toView();
    [[maybe_unused]] const ObjectPath::Views views = longer.views();
    [[maybe_unused]] const ObjectPath::Views noViews = root.views();
    [[maybe_unused]] const Tavik::ObjectPathCaptures captures = longer.capture(port).value();

    [[maybe_unused]] const auto attributes = device.attributeRange();
    [[maybe_unused]] const auto noAttributes = port.toView().attributeRange();
    [[maybe_unused]] const auto& [key, value] = *attributes.begin();
    [[maybe_unused]] const Tavik::ObjectPathPatternSet noPatterns;
    Tavik::ObjectPathPatternSet patterns;
    for (const ObjectPath& pattern : {port, root, longer}) {
        patterns.add(pattern);
    }
    patterns.remove(1);

    // The largest strings that are held inline in 16 and 24 bytes, and those of one byte more.
    const String empty;
    const String text15 = "123456789012345";
    const String text16 = "1234567890123456";
    const String text23 = "12345678901234567890123";
    const String text24 = "123456789012345678901234";
    const String bytes = std::string_view("\0\"\\\xff", 4);

    stop(port, text24, device.attribute("bus"));
    return stopped ? 0 : 1;
}
