// Does not compile, and the messages say why.

#include <Tavik/ObjectPath/PatternSet.h>

using namespace Tavik::literals;

const bool matches = Tavik::ObjectPath().matchesPattern("/a/*");
const std::size_t index = Tavik::ObjectPathPatternSet().add("/x");
const Tavik::ObjectPath path = "/a//b"_path;
