// The formatters for `std::format`, compiled with a stand-in where the standard library has none.

#include <gtest/gtest.h>

#include <Tavik/ObjectPath/ObjectPath.h>

TEST(StandardFormat, WritesWhatToStringReturns) {
    const Tavik::ObjectPath path = Tavik::parseObjectPath("/dev[id=3]/port");
    EXPECT_EQ(std::format("{}", path), "/dev[id=3]/port");
    EXPECT_EQ(std::format("{:8}", *path.parent()->leaf()), "dev[id=3]");
    EXPECT_EQ(std::format("{:6}", *path.leaf()), "port  ");
    EXPECT_EQ(std::format("{:7}", path.leaf()->name()), "port   ");
}
