// Which nodes paths have in common, and how long nodes live.

#include <Tavik/Core/ThreadControl.h>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;
using Tavik::String;
using Tavik::Impl::Dedup;

using Sharing = PathTest;

void expectEntries(std::size_t segments, std::size_t values) {
    EXPECT_EQ(Tavik::Impl::inspectSegmentTable().size(), segments);
    EXPECT_EQ(Tavik::Impl::inspectValueTable().size(), values);
}

TEST_F(Sharing, KeepsShapesApartFromValues) {
    const ObjectPath parent = ObjectPath().append("p", {{"k", "0"}});
    const ObjectPath path = parent.append("s", {{"y", "2"}, {"x", "1"}});
    EXPECT_EQ(path.segment->attributeKeys, std::vector<String>({"x", "y"}));
    EXPECT_EQ(path.values->value, "1");
    EXPECT_EQ(path.values->previous->value, "2");
    EXPECT_EQ(path.values->previous->previous, parent.values);
    const ObjectPath again = parent.append("s", {{"x", "1"}, {"y", "2"}});
    EXPECT_EQ(again, path);
    expectEntries(2, 3);

    const ObjectPath renamed = parent.append("t", {{"a", "1"}, {"b", "2"}});
    EXPECT_EQ(renamed.values, path.values);
    EXPECT_NE(renamed.segment, path.segment);
    const ObjectPath changed = parent.append("s", {{"x", "3"}, {"y", "2"}});
    EXPECT_EQ(changed.segment, path.segment);
    EXPECT_EQ(changed.values->previous, path.values->previous);
    EXPECT_EQ(parent.append("s").values, parent.values);
    EXPECT_EQ(parent.append("s"), parent.append("s", {}));
    expectEntries(3, 4);
}

template <typename Node>
void expectInterned(const std::shared_ptr<const Node>& node) {
    const auto* const deleter = std::get_deleter<void (*)(const Node*)>(node);
    EXPECT_TRUE(deleter != nullptr && *deleter == &Dedup<Node>::deleter);
    EXPECT_EQ(Dedup<Node>::intern(*node), node);
}

TEST_F(Sharing, EndsWithTheLastOwner) {
    ObjectPath path = Tavik::parseObjectPath("/a[k=v]/b/c[k=w]");
    EXPECT_TRUE(Tavik::ThreadControl::threadSafePointerIs());
    expectInterned(path.segment);
    expectInterned(path.values);
    path = path.parent().value();
    expectEntries(2, 1);
    EXPECT_FALSE(path.matchesPattern(Tavik::parseObjectPath("/a[k=u]")));
    EXPECT_EQ(Tavik::tryParseObjectPath("/new[k=new]/b[").index(), 1U);
    expectEntries(2, 1);

    std::optional<ObjectPath::Segments> segments = path.explode();
    ObjectPath taken = std::move(path);
    EXPECT_EQ(path, ObjectPath());
    taken = ObjectPath();
    EXPECT_EQ(segments->back().segment->name, "b");
    const Tavik::ObjectPathSegment first = segments->front();
    segments.reset();
    expectEntries(1, 1);
    EXPECT_EQ(first.attributes(), (absl::btree_map<String, String>{{"k", "v"}}));
}

}  // namespace
