// Paths as flags of Abseil.

#include <absl/flags/marshalling.h>
#include <gtest/gtest.h>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

using Tavik::ObjectPath;

TEST(Flags, AreReadAndWrittenAsText) {
    ObjectPath path;
    std::string error;
    ASSERT_TRUE(absl::ParseFlag("dev[id=3][bus=pci]/port/", &path, &error));
    EXPECT_EQ(path, ObjectPath().append("dev", {{"bus", "pci"}, {"id", "3"}}) / "port");
    EXPECT_EQ(absl::UnparseFlag(path), "/dev[bus=pci][id=3]/port");

    const ObjectPath before = path;
    EXPECT_FALSE(absl::ParseFlag("/dev[id", &path, &error));
    EXPECT_EQ(error, "an attribute is unfinished");
    EXPECT_EQ(path, before);
}

}  // namespace
