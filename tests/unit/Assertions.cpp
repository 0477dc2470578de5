// What the process says when it aborts.

#include <Tavik/Core/Assert.h>
#include <Tavik/Core/Format.h>

#include <csignal>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;

using AssertionsDeathTest = PathTest;

#define EXPECT_ABORT(statement, message) \
    EXPECT_EXIT(static_cast<void>(statement), testing::KilledBySignal(SIGABRT), message)

TEST_F(AssertionsDeathTest, NameTheirPlaceAndReason) {
    EXPECT_ABORT(Tavik::Impl::vfmassertb("i < n", "a.cpp", "f", 7, "{}-{}", fmt::make_format_args(1, "x")),
                 "^a\\.cpp:7: f: assertion `i < n` failed: 1-x\n$");
    EXPECT_ABORT(Tavik::Impl::vfmassertb("", "a.cpp", "f", 7, "{}", {}), "terminate called");
    EXPECT_ABORT(Tavik::parseObjectPath("//a"),
                 "Parsing\\.cpp:[0-9]+: parseObjectPath: "
                 "invalid object path because a segment name cannot be empty: \"//a\"\n$");
    EXPECT_ABORT(Tavik::formatString("{}", {}), "");
    EXPECT_ABORT(ObjectPath().toView().parent(), "Cursors\\.h:[0-9]+: parent: unexpected root path\n$");

    EXPECT_ABORT(ObjectPath().withAttribute("k", "v"), "withAttribute: unexpected root path\n$");
    EXPECT_ABORT(ObjectPath().withoutAttribute("k"), "withoutAttribute: unexpected root path\n$");

    const ObjectPath::Segments none = ObjectPath().explode();
    const ObjectPath::Segments one = ObjectPath().append("a").explode();
    const std::string place = "Segment\\.h:[0-9]+: ";
    const Tavik::ObjectPathSegment empty;
    EXPECT_ABORT(empty.name(), place + "name: unexpected empty segment\n$");
    EXPECT_ABORT(empty.attribute("k"), place + "attribute: unexpected empty segment\n$");
    EXPECT_ABORT(empty.attributes(), "attributes: unexpected empty segment\n$");
    EXPECT_ABORT(empty.toString(), "toString: unexpected empty segment\n$");
    EXPECT_ABORT(ObjectPath().append(empty), "append: unexpected empty segment\n$");
    EXPECT_EQ(empty, Tavik::ObjectPathSegment());
    EXPECT_FALSE(empty == one.front());
    EXPECT_TRUE(one.front() != empty);
    const std::string outOfRange = ": segment index out of range: there are ";
    EXPECT_ABORT(none.front(), "Cursors\\.h:[0-9]+: front" + outOfRange + "0 segments\n$");
    EXPECT_ABORT(none.back(), ": back" + outOfRange + "0 segments\n$");
    EXPECT_ABORT(one[1], ": operator\\[\\]" + outOfRange + "1 segments\n$");
    const ObjectPath path = ObjectPath().append("a");
    EXPECT_ABORT(ObjectPath().views().front(), ": front" + outOfRange + "0 segments\n$");
    EXPECT_ABORT(ObjectPath().views().back(), ": back" + outOfRange + "0 segments\n$");
    EXPECT_ABORT(path.views()[1], ": operator\\[\\]" + outOfRange + "1 segments\n$");
}

}  // namespace
