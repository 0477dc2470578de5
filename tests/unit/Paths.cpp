// Random paths against the model, alone and in pairs.

#include <set>
#include <unordered_set>

#include "PathTest.h"

namespace {

using Tavik::ObjectPath;

using Paths = PathTest;

/// Walks from the leaf of `path` to the root by every road there is.
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
    EXPECT_TRUE(*view.segment == nullptr && *view.values == nullptr && segments.empty() == !path.segment);
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
            segment.name.resize(random.below(2) * segment.name.size());
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
        models.push_back(join(models[random.below(models.size())], random.path(3)));
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

}  // namespace
