// Paths against the model, alone and in pairs, and what they share.

#include <set>
#include <unordered_map>

#include <Tavik/ObjectPath/Nodes/Content.h>

#include "Checks.h"
#include "PathTest.h"

namespace {

using Tavik::ObjectPath;
using Tavik::String;
using Tavik::Impl::Dedup;

using Checks::Sample;

class Paths : public PathTest {
protected:
    /// Paths that often share prefixes, shapes and values, and sometimes are equal.
    std::vector<Sample> related() {
        std::vector<Sample> samples(1);
        while (samples.size() < 60) {
            // Often the same name, with one of two values and perhaps a second attribute of one of two keys.
            Model::Path tail = {
                {"a", {{"k", std::to_string(random.below(2))}, {std::string(1, "klm"[random.below(3)]), ""}}}};
            if (random.oneIn(2)) {
                tail = random.path(3);
            }
            samples.push_back(join(samples[random.below(samples.size())], {tail, Model::build(tail)}));
        }
        return samples;
    }
};

TEST_F(Paths, AreWhatTheirModelSays) {
    for (int round = 0; round < 500; ++round) {
        Model::Path model = random.path(round % 20 == 0 ? 25 : 4);
        Checks::check({model, Model::build(model)});
        EXPECT_EQ(Tavik::parseObjectPath(Model::write(model)), Model::build(model));
        for (Model::Segment& segment : model) {
            if (random.oneIn(2)) {
                segment.name.clear();
            }
        }
        Checks::check({model, Model::build(model)});
    }
}

TEST_F(Paths, CompareAndJoinLikeTheirModels) {
    const std::vector<Sample> samples = related();
    for (const Sample& left : samples) {
        for (const Sample& right : samples) {
            Checks::check(left, right);
            const Sample joined = join(left, right);
            Checks::check(joined);
            Checks::checkReplacing(joined, left, right);
            Checks::checkReplacing(left, right, joined);
        }
    }
}

TEST_F(Paths, HaveTheirSubtreesInOrderedContainers) {
    const std::vector<Sample> samples = related();
    std::set<ObjectPath, std::less<>> set;
    absl::btree_map<ObjectPath, int, std::less<>> map;
    for (const Sample& sample : std::span(samples).subspan(samples.size() / 2)) {
        set.insert(sample.path);
        map.emplace(sample.path, 0);
    }
    const std::vector<ObjectPath> sorted(set.begin(), set.end());
    for (const Sample& top : samples) {  // half of which are in no container
        const Tavik::ObjectPathSubtree subtree{top.path};
        std::vector<ObjectPath> expected;
        std::ranges::copy_if(sorted, std::back_inserter(expected),
                             [&](const ObjectPath& path) { return path.startsWith(top.path); });
        const auto [first, last] = set.equal_range(subtree);
        EXPECT_EQ(std::vector(first, last), expected);
        const auto [low, high] = std::ranges::equal_range(sorted, subtree, std::less<>());
        EXPECT_EQ(std::vector(low, high), expected);
        std::vector<ObjectPath> keys;
        for (auto [entry, end] = map.equal_range(subtree); entry != end; ++entry) {
            keys.push_back(entry->first);
        }
        EXPECT_EQ(keys, expected);
    }
}

template <typename Map>
void expectDistinctHashes(const Map& map) {
    std::set<std::size_t> hashes;
    for (const auto& [key, mapped] : map) {
        hashes.insert(map.hash_function()(key));
    }
    EXPECT_EQ(hashes.size(), map.size());
}

TEST_F(Paths, HaveDistinctHashes) {
    std::set<std::string> strings;
    std::unordered_map<ObjectPath, std::string> paths;
    const std::vector<Sample> samples = related();
    for (const Sample& sample : samples) {
        strings.insert(Model::write(sample.model));
        paths.emplace(sample.path, Model::write(sample.model));
    }
    EXPECT_LT(strings.size(), samples.size()) << "some of the paths should be equal";
    EXPECT_EQ(strings.size(), paths.size());
    expectDistinctHashes(paths);
    expectDistinctHashes(Tavik::Impl::inspectSegmentTable());
    expectDistinctHashes(Tavik::Impl::inspectValueTable());
}

/// Of so many hashes, some would be equal if they had 32 bits.
TEST_F(Paths, FillTablesByDistinctHashes) {
    const auto number = [](std::size_t i) {
        return ObjectPath().append(std::to_string(i), {{"k", std::to_string(i)}});
    };
    const auto slots = [] {
        return std::max(Tavik::Impl::inspectSegmentTable().bucket_count(),
                        Tavik::Impl::inspectValueTable().bucket_count());
    };
    std::vector<ObjectPath> paths;
    for (const std::size_t slotsBefore = slots(); paths.size() < 200'000;) {
        paths.push_back(number(paths.size()));
        ASSERT_LT(slots(), std::max(slotsBefore + 1, 3 * paths.size() + 32));
    }
    expectDistinctHashes(Tavik::Impl::inspectSegmentTable());
    expectDistinctHashes(Tavik::Impl::inspectValueTable());
    paths.resize(1'000);
    EXPECT_LT(slots(), 17 * paths.size()) << "tables give memory back";
    for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_EQ(number(i), paths[i]);
    }
}

/// A node equals another one, or the content to look one up by, if all fields are equal.
TEST_F(Paths, AreLookedUpByAllFields) {
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

TEST_F(Paths, KeepShapesApartFromValues) {
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

TEST_F(Paths, ShareTheBuffersOfLongStrings) {
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

TEST_F(Paths, ReleaseTheirNodes) {
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

}  // namespace
