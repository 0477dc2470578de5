// Warnings of what looks like a wildcard and is none.

#include <Tavik/ObjectPath/PatternSet.h>

#include "PathTest.h"

namespace {

using PatternWarnings = PathTest;

TEST_F(PatternWarnings, SayWhatMatchesOnlyItself) {
    const std::pair<const char*, const char*> expectations[] = {
        {"/", ""},
        {"/*/.../a.b/dev[k=*]/..../../..[..=..]", ""},
        {"/*[id=3]", R"(the name "*" )"},
        {"/...[k=*]", R"(the name "..." )"},
        {"/req*/b/*x[k=1]/**", R"(the name "req*" the name "*x" the name "**" )"},
        {"/reply[code=5*][k=...][l=**]", R"(the value "5*" the value "..." the value "**" )"},
        {"/dev[*=pci]/dev[...=*][k*=v]", R"(the key "*" the key "..." the key "k*" )"},
        {"/*[*=*a][b=*]", R"(the name "*" the key "*" the value "*a" )"},
    };
    for (const auto& [pattern, expected] : expectations) {
        std::string warned;
        for (const Tavik::String& warning : Tavik::patternWarnings(Tavik::parseObjectPath(pattern))) {
            const std::string_view text = warning;
            const std::size_t end = text.find("matches only itself: ");
            ASSERT_NE(end, text.npos) << text;
            warned += text.substr(0, end);
        }
        EXPECT_EQ(warned, expected) << pattern;
    }
    const auto pattern = Tavik::parseObjectPath("/*[id=3]");
    EXPECT_EQ(Tavik::patternWarnings(pattern, {}), Tavik::patternWarnings(pattern));
    EXPECT_NE(Tavik::patternWarnings(pattern)[0].view().find("option anyNameWithAttributes"), std::string_view::npos);
    EXPECT_TRUE(Tavik::patternWarnings(pattern, {false, true}).empty());
}

}  // namespace
