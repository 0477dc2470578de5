// Paths as values of JSON.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

using nlohmann::json;
using Tavik::ObjectPath;

struct Port {
    ObjectPath path;
    std::vector<ObjectPath> peers;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Port, path, peers)

// The hooks are those of paths alone.
static_assert(!std::is_constructible_v<json, Tavik::ObjectPathSegment>);
static_assert(!std::is_constructible_v<json, Tavik::ObjectPathSubtree>);

TEST(Json, HoldsPathsInObjectsAndVectors) {
    const Port port{Tavik::parseObjectPath("/dev[id=3]/port"), {ObjectPath(), ObjectPath() / "a/b" / "c[d"}};
    const json written = port;
    EXPECT_EQ(written, json::parse(R"({"path": "/dev[id=3]/port", "peers": ["/", "/a\\/b/c\\[d"]})"));
    const auto read = written.get<Port>();
    EXPECT_EQ(read.path, port.path);
    EXPECT_EQ(read.peers, port.peers);
    EXPECT_EQ(json(Tavik::String("/a")), json("/a"));  // a string, as ever
}

TEST(Json, ThatHoldsNoPathThrows) {
    EXPECT_THROW(json(7).get<ObjectPath>(), json::type_error);
    try {
        json::parse(R"({"path": "/dev//port", "peers": []})").get<Port>();
        FAIL() << "no exception";
    } catch (const Tavik::ObjectPathError& error) {
        EXPECT_STREQ(error.what(), "a segment name cannot be empty");
        EXPECT_EQ(error.offset(), 5U);
    }
}

}  // namespace
