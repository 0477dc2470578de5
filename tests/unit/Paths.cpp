// Paths against the model, alone and in pairs, and what they share.

#include <set>
#include <unordered_set>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;
using Tavik::String;
using Tavik::Impl::Dedup;

using Paths = PathTest;

/// Walks from the leaf of `path` to the root in every way there is.
void checkLevels(const ObjectPath& path, Model::Path model) {
    const ObjectPath::Segments segments = path.explode();
    ASSERT_EQ(segments.size(), model.size());
    ObjectPath::View view = path.toView();
    std::optional<ObjectPath> ancestor = path;
    for (std::size_t index = 0; index < segments.size(); ++index) {
        const ObjectPath expected = Model::build(model);
        EXPECT_EQ(ancestor, expected);
        EXPECT_EQ((ObjectPath{*view.segment, *view.values}), expected);
        EXPECT_EQ((ObjectPath{segments[index].segment, segments[index].values}), expected);
        EXPECT_EQ((ObjectPath{ancestor->leaf()->segment, ancestor->leaf()->values}), expected);
        EXPECT_TRUE(path.startsWith(expected));
        ancestor = ancestor->parent();
        view = view.parent();
        model.pop_back();
    }
    EXPECT_EQ(ancestor, ObjectPath());
    EXPECT_FALSE(ancestor->parent().has_value() || ancestor->leaf().has_value());
    EXPECT_TRUE(*view.segment == nullptr && *view.values == nullptr);
    EXPECT_EQ(segments.empty(), path == ObjectPath());
}

void checkPath(const Model::Path& model) {
    const ObjectPath path = Model::build(model);
    const std::string text = Model::write(model);
    SCOPED_TRACE(text);
    EXPECT_TRUE(Model::read(path) == model);
    checkLevels(path, model);
    EXPECT_EQ(path.toString(), text);
    EXPECT_EQ((std::ostringstream() << path).str(), text);
    EXPECT_EQ(fmt::format("{:*>40}", path), fmt::format("{:*>40}", text));
}

TEST_F(Paths, AreWhatTheirModelSays) {
    for (int round = 0; round < 500; ++round) {
        Model::Path model = random.path(round % 20 == 0 ? 25 : 4);
        checkPath(model);
        EXPECT_EQ(Tavik::parseObjectPath(Model::write(model)), Model::build(model));
        for (Model::Segment& segment : model) {
            if (random.oneIn(2)) {
                segment.name.clear();
            }
        }
        checkPath(model);
    }
}

TEST_F(Paths, CompareAndJoinLikeTheirModels) {
    const auto join = [](Model::Path first, const Model::Path& second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    };
    std::vector<Model::Path> models(1);
    std::vector<ObjectPath> paths(1);
    std::set<std::string> texts = {"/"};
    while (models.size() < 60) {
        // Often the same shape, with one of two values.
        const Model::Path tail = {{"a", {{"k", std::to_string(random.below(2))}}}};
        models.push_back(join(models[random.below(models.size())], random.oneIn(2) ? tail : random.path(3)));
        paths.push_back(Model::build(models.back()));
        texts.insert(Model::write(models.back()));
    }
    EXPECT_LT(texts.size(), paths.size()) << "some of the paths should be equal";
    EXPECT_EQ(std::unordered_set<ObjectPath>(paths.begin(), paths.end()).size(), texts.size());
    for (std::size_t i = 0; i < models.size(); ++i) {
        for (std::size_t j = 0; j < models.size(); ++j) {
            SCOPED_TRACE(Model::write(models[i]) + " and " + Model::write(models[j]));
            EXPECT_EQ(paths[i] == paths[j], models[i] == models[j]);
            EXPECT_EQ(paths[i] != paths[j], models[i] != models[j]);
            Model::Path start = models[i];
            start.resize(std::min(start.size(), models[j].size()));
            EXPECT_EQ(paths[i].startsWith(paths[j]), start == models[j]);
            EXPECT_EQ(paths[i].append(paths[j]), Model::build(join(models[i], models[j])));
        }
    }
}

void expectEntries(std::size_t segments, std::size_t values) {
    EXPECT_EQ(Tavik::Impl::inspectSegmentTable().size(), segments);
    EXPECT_EQ(Tavik::Impl::inspectValueTable().size(), values);
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

    EXPECT_TRUE(parent.append("...").segment->isAnySequence());
    EXPECT_FALSE(parent.append("...", {{"k", "v"}}).segment->isAnySequence());
}

TEST_F(Paths, ShareTheBuffersOfLongTexts) {
    for (const char* const text : {"a text that is too long to be held inline", "and one with escapes: \\ / [ ] ="}) {
        const Model::Segment segment{text, {{text, text}}};
        const ObjectPath appended = Model::append(ObjectPath(), segment);
        const ObjectPath parsed = Tavik::parseObjectPath(Model::write({{"p", {}}, segment}));
        const ObjectPath joined = ObjectPath().append("q").append(appended);
        const ObjectPath withoutAttributes = ObjectPath().append(text);
        std::set<const char*> buffers = {withoutAttributes.segment->name.view().data()};
        for (const ObjectPath& path : {appended, parsed, joined}) {
            buffers.insert(path.segment->name.view().data());
            buffers.insert(path.segment->attributeKeys.front().view().data());
            buffers.insert(path.values->value.view().data());
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
    const Tavik::ObjectPathSegment first = segments->front();
    segments.reset();
    expectEntries(1, 1);
    EXPECT_EQ(first.attributes(), (absl::btree_map<String, String>{{"k", "v"}}));
}

}  // namespace
