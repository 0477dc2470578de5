// The matcher against the recursive one of the model.

#include <Tavik/ObjectPath/Patterns/Pattern.h>

#include "PathTest.h"
#include "SetChecks.h"

namespace {

using Checks::Sample;
using Tavik::ObjectPath;
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
            Checks::checkOptions(path, pattern);
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

/// The steps of a pattern as a text.
std::string stepsOf(const char* pattern, const Checks::Config& config = {}) {
    const ObjectPath path = Tavik::parseObjectPath(pattern);
    const auto levels = Tavik::Impl::levelsOf(path);
    std::string text;
    for (const auto& [kind, string] : Tavik::Impl::stepsOf(levels, config)) {
        constexpr const char* names[] = {"name", "key", "value", "any value", "any segment", "any sequence", "end"};
        text += fmt::format("{} {}; ", names[static_cast<int>(kind)], string != nullptr ? string->view() : "");
    }
    return text;
}

TEST_F(Matching, HasANormalFormOfPatterns) {
    constexpr const char* sameSteps[][2] = {{"/.../.../a", "/.../a"},
                                            {"/a/...", "/a"},
                                            {"/...", "/"},
                                            {"/a/.../...", "/a"},
                                            {"/.../*", "/*"},
                                            {"/.../*/a", "/*/.../a"},
                                            {"/.../*/.../*/a", "/*/*/.../a"}};
    for (const auto& [pattern, normal] : sameSteps) {
        EXPECT_EQ(stepsOf(pattern), stepsOf(normal)) << pattern;
    }
    EXPECT_EQ(stepsOf("/*/.../a[*=...][k=*]/...[k=1]"),
              "any segment ; any sequence ; name a; key *; value ...; key k; any value ; name ...; key k; value 1; ");
    EXPECT_EQ(stepsOf("/.../*[k=1]", {true, true}), "any sequence ; any segment ; key k; value 1; end ; ");
    EXPECT_EQ(stepsOf("/a/.../*", {true, true}), stepsOf("/a/*"));
}

TEST_F(Matching, OrdersPatternsBySpecificity) {
    std::vector<ObjectPath> patterns;
    for (const char* pattern :
         {"/a/b", "/a/*", "/a[k=1][l=2]", "/a[k=1]", "/a[k=*]", "/a/...", "/a", "/*/a", "/*", "/.../a", "/...", "/"}) {
        patterns.push_back(Tavik::parseObjectPath(pattern));
        for (const ObjectPath& former : patterns) {
            EXPECT_EQ(isMoreSpecific(former, patterns.back()), former != patterns.back()) << pattern << former;
            EXPECT_FALSE(isMoreSpecific(patterns.back(), former)) << pattern << former;
        }
    }
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
        const Sample path = randomPath(24, {0, 0, 0, 1, 4});
        const Sample pattern = randomPath(9, {0, 0, 1, 2, 3, 3, 4, 5});
        Checks::check(path, pattern);
        Checks::checkOptions(path, pattern);
    }
}

}  // namespace
