// Reading and writing texts.

#include "Checks.h"
#include "PathTest.h"

namespace {

using namespace std::string_view_literals;
using Tavik::ObjectPath;

using Text = PathTest;

constexpr Tavik::ObjectPathStringConfig unescaped{.escapeNames = false,
                                                  .escapeAttributeKeys = false,
                                                  .escapeAttributeValues = false};

TEST_F(Text, IsParsed) {
    static constexpr std::string_view emptyName = "a segment name cannot be empty";
    static constexpr std::string_view afterGroup = "an attribute or / was expected following ]";
    static constexpr std::string_view attribute = "an attribute is unfinished";
    static constexpr std::string_view escape = "an escape sequence is unfinished";
    static constexpr std::pair<std::string_view, std::string_view> rows[] = {
        {"", "/"},
        {"/", "/"},
        {"a/b/", "/a/b"},
        {"/a[l=w][k=v]/*", "/a[k=v][l=w]/*"},
        {"/a[k=1][j=][k=2][k=0]/", "/a[j=][k=1]"},
        {"/a[=]", "/a[=]"},
        {R"(/a\/\\\]\=\[[\/\\\]\=\[=\/\\\]\=\[])", R"(/a\/\\]=\[[/\\]\=[=/\\\]=[])"},
        {"/]=b[k[]x/=v=[w/x]", "/]=b[k[]x/=v=[w/x]"},
        {" /\0\xc3\xa9\xff[\0=\x80]"sv, "/ /\0\xc3\xa9\xff[\0=\x80]"sv},
        {"/a//b[", emptyName},
        {"[", emptyName},
        {"/a[k=v]/[k=v]", emptyName},
        {"/a[k=v]x", afterGroup},
        {"/a[k=v]\\/b", afterGroup},
        {"/a[]", attribute},
        {"\\", escape},
        {"/a[k=\\", escape},
        {"/a\\n//", "\\n is not a valid escape sequence"},
        {"/a[k=\\\0]"sv, "\\\0 is not a valid escape sequence"sv},
    };
    for (const auto& [text, result] : rows) {
        const auto parsed = Tavik::tryParseObjectPath(text);
        const auto* const path = std::get_if<ObjectPath>(&parsed);
        EXPECT_EQ(path != nullptr ? path->toString() : std::get<Tavik::String>(parsed), result) << text;
        Checks::parse(text);
    }
}

/// All texts of up to `longest` characters from an alphabet.
std::vector<std::string> shortTexts(std::string_view alphabet, std::size_t longest) {
    std::vector<std::string> texts(1);
    for (std::size_t i = 0; texts[i].size() < longest; ++i) {
        for (const char character : alphabet) {
            texts.push_back(texts[i] + character);
        }
    }
    return texts;
}

TEST_F(Text, IsParsedAsByTheModel) {
    for (int round = 0; round < 5'000; ++round) {
        std::string text = Model::write(random.path(4));
        for (std::size_t changes = random.below(3); changes > 0; --changes) {
            text.replace(random.below(text.size()), random.below(3), random.text() + '/');
        }
        Checks::parse(text);
    }
}

/// Whether some valid text begins with `text`.
bool canBeCompleted(const std::string& text) {
    static constexpr const char* completions[] = {"", "/", "]", "=]", "]]", "==]"};
    return std::ranges::any_of(completions, [&](const char* rest) { return Model::parse(text + rest).index() == 0; });
}

TEST_F(Text, HasItsErrorWhereNoValidTextContinues) {
    for (const std::string& text : shortTexts("/[]=\\a", 6)) {
        Checks::parse(text);
        Checks::parse("/a[=" + text);
        std::size_t offset = SIZE_MAX;
        const auto parsed = Tavik::tryParseObjectPath(text, offset);
        EXPECT_EQ(parsed, Tavik::tryParseObjectPath(text)) << text;
        std::size_t expected = text.size();
        while (!canBeCompleted(text.substr(0, expected))) {
            --expected;
        }
        EXPECT_EQ(offset, parsed.index() == 0 ? SIZE_MAX : expected) << text;
    }
}

TEST_F(Text, IsWrittenUnderOptions) {
    const ObjectPath path = Tavik::parseObjectPath(R"(/a\//b[\==\]]/c)");
    EXPECT_EQ(path.toString({.separator = "::", .escapeNames = false}), R"(::a/::b[\==\]]::c)");
    EXPECT_EQ(path.toString({.separator = "", .escapeAttributeKeys = false}), R"(a\/b[==\]]c)");
    EXPECT_EQ(path.toString({.skipSegments = 1, .escapeAttributeValues = false}), R"(/b[\==]]/c)");
    EXPECT_EQ(path.toString({.leadingSeparator = false, .separator = ".", .skipSegments = 1}), R"(b[\==\]].c)");
    EXPECT_EQ(path.toString({.skipSegments = SIZE_MAX}), "");
    EXPECT_EQ(ObjectPath().toString({.separator = "::", .skipSegments = 1}), "::");
    const auto flag = [&] { return !random.oneIn(4); };
    for (int round = 0; round < 5'000; ++round) {
        const std::string separator = random.text();
        const Tavik::ObjectPathStringConfig config{flag(), separator, random.below(4), flag(), flag(), flag()};
        const Model::Path model = random.path(4);
        EXPECT_EQ(Model::build(model).toString(config), Model::write(model, config));
    }
}

/// The writer collects text in chunks of 512 bytes, and escapes at most half a chunk at a time.
TEST_F(Text, IsWrittenWhereverAChunkEnds) {
    for (const char character : {'x', '\\'}) {
        for (std::size_t nameSize = 1; nameSize < 520; ++nameSize) {
            for (const std::size_t size : {0U, 1U, 2U, 15U, 16U, 255U, 256U, 257U, 511U, 512U, 513U}) {
                const std::string field(size, character);
                const Model::Path model = {{std::string(nameSize, character), {{field, field}}}};
                const ObjectPath path = Model::build(model);
                ASSERT_EQ(path.toString(), Model::write(model)) << nameSize << ' ' << size;
                ASSERT_EQ(path.toString(unescaped), Model::write(model, unescaped)) << nameSize << ' ' << size;
            }
        }
    }
}

}  // namespace
