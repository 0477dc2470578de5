// What paths share: their nodes, which are looked up by all fields, and the buffers of long strings.

#include <array>
#include <set>

#include <Tavik/ObjectPath/Nodes/Content.h>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;
using Tavik::String;
using Tavik::Impl::Dedup;

using Interning = PathTest;

/// A node equals another one, or the content to look one up by, if all fields are equal.
TEST_F(Interning, AreLookedUpByAllFields) {
    using namespace Tavik::Impl;
    static constexpr const char* strings[] = {"a", "b", "a string that is too long to be held inline"};
    const ObjectPath parents[] = {{}, Tavik::parseObjectPath("/a[k=v]"), Tavik::parseObjectPath("/b[k=w]")};
    std::vector<Segment> segments;
    std::vector<Value> values;
    for (const char* const text : strings) {
        for (const ObjectPath& parent : parents) {
            values.push_back({text, parent.values});
            for (const std::vector<String>& keys : {{}, {"k"}, {"l"}, std::vector<String>{"k", "l"}}) {
                segments.push_back({text, keys, parent.segment});
            }
        }
    }
    const auto expectAlike = [](const auto& node, const auto& other, bool alike) {
        EXPECT_EQ(node == other, alike);
        EXPECT_TRUE(!alike || absl::HashOf(node) == absl::HashOf(other));
    };
    for (const Segment& node : segments) {
        for (const Segment& other : segments) {
            const TextRef name = other.name;
            std::vector<Attribute> attributes;
            for (const String& key : other.attributeKeys) {
                attributes.emplace_back(key, TextRef());
            }
            expectAlike(node, other, &node == &other);
            expectAlike(node, SegmentContent{name, attributes, LinkRef<Segment>::copying(other.parent)},
                        &node == &other);
        }
    }
    for (const Value& node : values) {
        for (const Value& other : values) {
            const TextRef value = other.value;
            expectAlike(node, other, &node == &other);
            expectAlike(node, ValueContent{value, LinkRef<Value>::copying(other.previous)}, &node == &other);
        }
    }
}

TEST_F(Interning, KeepShapesApartFromValues) {
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
    const ObjectPath changed = parent.append("s", {{"x", "3"}, {"y", "2"}});
    EXPECT_EQ(changed.segment, path.segment);
    EXPECT_EQ(parent.append("s"), parent.append("s", {}));
    expectEntries(3, 4);

    const auto interned = Dedup<Tavik::Impl::Segment>::intern({"s", {}, parent.segment});
    EXPECT_EQ(parent.append("s").segment, interned);

    EXPECT_TRUE(parent.append("...").segment->isAnySequence());
    EXPECT_FALSE(parent.append("...", {{"k", "v"}}).segment->isAnySequence());
}

TEST_F(Interning, ShareTheBuffersOfLongStrings) {
    for (const char* const text : {"a string that is too long to be held inline", "and one with escapes: \\ / [ ] ="}) {
        const Model::Segment segment{text, {{text, text}}};
        const ObjectPath appended = Model::append(ObjectPath(), segment);
        const ObjectPath parsed = Tavik::parseObjectPath(Model::write({{"p", {}}, segment}));
        const ObjectPath joined = ObjectPath().append("q").append(appended);
        const ObjectPath withoutAttributes = ObjectPath().append(text);
        std::set<const char*> buffers = {withoutAttributes.segment->name.data()};
        for (const ObjectPath& path : {appended, parsed, joined}) {
            buffers.insert(path.segment->name.data());
            buffers.insert(path.segment->attributeKeys.front().data());
            buffers.insert(path.values->value.data());
        }
        EXPECT_EQ(buffers.size(), 1U) << text;
    }
}

template <typename Node>
void expectInterned(const std::shared_ptr<const Node>& node) {
    const auto* const deleter = std::get_deleter<void (*)(const Node*)>(node);
    EXPECT_TRUE(deleter != nullptr && *deleter == &Dedup<Node>::deleter);
    EXPECT_EQ(Dedup<Node>::intern(*node), node);
}

TEST_F(Interning, ReleaseTheirNodes) {
    ObjectPath path = Tavik::parseObjectPath("/a[k=v]/b/c[k=w]");
    expectInterned(path.segment);
    expectInterned(path.values);
    path = path.parent().value();
    expectEntries(2, 1);
    EXPECT_FALSE(path.matchesPattern(Tavik::parseObjectPath("/a[k=u]")));
    EXPECT_EQ(Tavik::tryParseObjectPath("/new[k=new]/b[").index(), 1U);
    expectEntries(2, 1);

    std::optional<ObjectPath::Segments> segments = ObjectPath(std::move(path)).explode();
    EXPECT_EQ(path, ObjectPath());
    EXPECT_EQ(segments->back().segment->name, "b");
    const ObjectPath::Segments::value_type first = segments->front();
    segments.reset();
    expectEntries(1, 1);
    EXPECT_EQ(first.attributes(), (absl::btree_map<String, String>{{"k", "v"}}));
}

/// A path is found if parsing its text creates no node, and finding it creates none either.
TEST_F(Interning, AreFoundOnlyWhileTheyAreAlive) {
    const auto countNodes = [] {
        return Tavik::Impl::inspectSegmentTable().size() + Tavik::Impl::inspectValueTable().size();
    };
    std::array<ObjectPath, 20> kept;
    std::size_t foundCount = 0;
    for (int round = 0; round < 5'000; ++round) {
        ObjectPath& path = kept[random.below(kept.size())];
        std::string text = random.oneIn(2) ? path.toString().str() : Model::write(random.path(3));
        if (random.oneIn(4)) {
            text.resize(random.below(text.size() + 1));
        }
        const std::size_t before = countNodes();
        const std::optional<ObjectPath> found = Tavik::findObjectPath(text);
        EXPECT_EQ(countNodes(), before) << text;
        const auto parsed = Tavik::tryParseObjectPath(text);
        const ObjectPath* const result = std::get_if<ObjectPath>(&parsed);
        EXPECT_EQ(found.has_value(), result != nullptr && countNodes() == before) << text;
        EXPECT_TRUE(!found || *found == *result) << text;
        foundCount += found.has_value() ? 1 : 0;
        if (result != nullptr && !result->isRoot()) {
            const auto leaf = result->leaf();
            EXPECT_EQ(result->parent()->findChild(leaf->name(), leaf->attributes()), *result);
            EXPECT_EQ(result->findChild("a child that nothing else has"), std::nullopt);
            EXPECT_EQ(result->parent()->findChild(leaf->name(), {{"key", "that nothing else has"}}), std::nullopt);
            path = *result;
        }
    }
    EXPECT_GT(foundCount, 1'000U);
}

TEST_F(Interning, HasTheRoomThatIsReserved) {
    const auto& table = Tavik::Impl::inspectSegmentTable();
    std::vector<ObjectPath> paths;
    for (const std::size_t count : {1U, 29U, 30'000U}) {
        ObjectPath::reserve(count, 0);
        const std::size_t slots = table.bucket_count();
        while (paths.size() < count) {
            paths.push_back(ObjectPath().append(std::to_string(paths.size())));
        }
        EXPECT_EQ(table.bucket_count(), slots) << count;
        paths.clear();
    }
    ObjectPath::reserve(20'000, 20'000);
    const std::size_t slots = table.bucket_count();
    while (paths.size() < 20'000) {
        paths.push_back(ObjectPath().append(std::to_string(paths.size()), {{"k", std::to_string(paths.size())}}));
    }
    for (const ObjectPath& path : paths) {
        EXPECT_EQ(ObjectPath().append(path), path);
    }
    paths.resize(100);
    EXPECT_EQ(table.bucket_count(), slots);
    ObjectPath::reserve(100, 20'000);
    EXPECT_LT(table.bucket_count(), 1'000U);
    EXPECT_EQ(Tavik::Impl::inspectValueTable().bucket_count(), slots);
    EXPECT_THROW(ObjectPath::reserve(1'000, SIZE_MAX), std::bad_alloc);
    EXPECT_LT(table.bucket_count(), 1'000U) << "nothing changes";
    ObjectPath::reserve(0, 0);
    EXPECT_LT(Tavik::Impl::inspectValueTable().bucket_count(), 1'000U);
    EXPECT_EQ(ObjectPath().append("7", {{"k", "7"}}), paths[7]);
}

}  // namespace
