// The matcher against the recursive one of the model.

#include "Checks.h"
#include "PathTest.h"

namespace {

using Checks::Sample;
using Matching = PathTest;

/// Checks all paths of up to `longest` segments from an alphabet against each other.
void checkAllPairs(const Model::Path& alphabet, std::size_t longest) {
    std::vector<Sample> paths(1);
    for (std::size_t i = 0; i < paths.size() && paths[i].model.size() < longest; ++i) {
        for (const Model::Segment& segment : alphabet) {
            paths.push_back(paths[i]);
            paths.back().model.push_back(segment);
            paths.back().path = Model::append(paths[i].path, segment);
        }
    }
    for (const Sample& path : paths) {
        for (const Sample& pattern : paths) {
            Checks::check(path, pattern);
        }
    }
}

const auto alphabet = std::get<Model::Path>(Model::parse("/a/b/*/.../a[k=1]/*[k=1]/...[k=*]"));

TEST_F(Matching, AgreesOnAllShortPaths) {
    checkAllPairs(alphabet, 3);
}

TEST_F(Matching, AgreesOnAllSetsOfAttributes) {
    Model::Path segments = {{"a", {}}};
    for (const char* key : {"*", "j", "k", "seventeen letters"}) {
        for (std::size_t i = segments.size(); i-- > 0;) {
            for (const char* value : {"", "*", "*1"}) {
                segments.push_back(segments[i]);
                segments.back().attributes[key] = value;
            }
        }
    }
    checkAllPairs(segments, 1);
}

TEST_F(Matching, AgreesOnLongPaths) {
    const auto randomPath = [&](std::size_t longest, const std::vector<std::size_t>& indexes) {
        Model::Path model(random.below(longest + 1));
        for (Model::Segment& segment : model) {
            segment = alphabet[indexes[random.below(indexes.size())]];
        }
        return Sample{model, Model::build(model)};
    };
    for (int round = 0; round < 20'000; ++round) {
        Checks::check(randomPath(24, {0, 0, 0, 1, 4}), randomPath(9, {0, 0, 1, 2, 3, 3, 4}));
    }
}

}  // namespace
