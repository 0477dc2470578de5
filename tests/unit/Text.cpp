// Reading and writing text.

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
        {R"(/a\/ name of more than fifteen[k\=ey of more than fifteen=\] value of more than fifteen][l=1][l=\]])",
         R"(/a\/ name of more than fifteen[k\=ey of more than fifteen=\] value of more than fifteen][l=1])"},
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
    Checks::parse(Model::write({{std::string(3'000, '/'), {}}}));
}

/// All strings of up to `longest` characters from an alphabet.
std::vector<std::string> shortStrings(std::string_view alphabet, std::size_t longest) {
    std::vector<std::string> strings(1);
    for (std::size_t i = 0; strings[i].size() < longest; ++i) {
        for (const char character : alphabet) {
            strings.push_back(strings[i] + character);
        }
    }
    return strings;
}

/// A string may begin like the one before it, whose path may live or not.
TEST_F(Text, IsParsedInListsAsByTheModel) {
    for (const char* const lines : {
             "/p[k=2]\n/p[k=1]/a\r/p[k=1]/b\r/p[k=1]/c\r/p[k=1]\r/p[k=2]/a",
             "/p/q/r/a\n/p/q/r/b\n/p/s/t/a\n/p/s/r/a\n/p/s/t/b\n/p/s/r/b",
             "/p/q/a\r/p/q/b\r/p\n/p/q/c\r/p/qq/c\r/p/q/\r/p/q//\rp/q/a[\rp/q/b\\x",
             "/p/q/z\n/pxq/a\r/p/a\r/p/b\r/p/c\r/p/q/a\r/pxq/b",
             "/p\\/q/a\r/p\\/q/b\r/p\\/q/c\r/p/q/d\r/p[=/]/a\r/p[=/]/b\r/p[=/]/c\r/p[=",
         }) {
        Checks::parseLines(lines);
    }
    for (int round = 0; round < 1'500; ++round) {
        std::string lines;
        Model::Path path;
        for (std::size_t count = random.below(12); count > 0; --count) {
            path.resize(random.below(path.size() + 1));
            if (random.oneIn(2)) {
                std::ranges::move(random.path(random.oneIn(8) ? 20 : 2), std::back_inserter(path));
            }
            while (random.oneIn(2)) {
                path.push_back({random.oneIn(2) ? "a" : "b", {}});
            }
            std::string line = Model::write(path).substr(random.below(2));
            for (std::size_t changes = random.oneIn(2) ? random.below(3) : 0; changes > 0 && !line.empty(); --changes) {
                line.replace(random.below(line.size()), random.below(3), random.text() + '/');
            }
            lines += line + "\n\r\f"[random.below(3)];
        }
        Checks::parseLines(lines);
    }
}

/// Parents about as long and as deep as the parser remembers them, and others that differ in a byte or in a level.
TEST_F(Text, IsParsedInListsBelowLongParents) {
    Checks::parseLines("/a/q\n/a/q\r/a/q\r/a/b\\/c/" + std::string(233, 'x') + "\x04/leaf\n/a/b\\/d");
    std::vector<std::string> parents;
    for (const std::size_t size : {238U, 239U, 240U, 241U, 242U, 254U, 255U, 256U, 300U}) {
        parents.push_back('/' + std::string(size, 'a'));
        parents.push_back('/' + std::string(size, 'a').replace(std::min<std::size_t>(size - 1, 240), 1, 1, char(size)));
    }
    for (std::size_t levels = 15; levels < 20; ++levels) {
        std::string& parent = parents.emplace_back();
        for (std::size_t level = 0; level < levels; ++level) {
            parent += "/a";
        }
        parents.push_back(parent.substr(1) + 'b');
    }
    for (const std::string& first : parents) {
        for (const std::string& second : parents) {
            Checks::parseLines(first + "/x\n" + first + "/y\n" + second + "/x\n" + second + "/y\n" + first + "/z");
        }
    }
}

/// Whether some valid string begins with `text`.
bool canBeCompleted(const std::string& text) {
    static constexpr const char* completions[] = {"", "/", "]", "=]", "]]", "==]"};
    return std::ranges::any_of(completions, [&](const char* rest) { return Model::parse(text + rest).index() == 0; });
}

TEST_F(Text, HasItsErrorWhereNoValidStringContinues) {
    for (const std::string& text : shortStrings("/[]=\\a", 6)) {
        Checks::parse(text);
        Checks::parse("/a[=" + text);
        if (const auto expected = Model::parse(text); expected.index() == 1) {
            const std::size_t offset = std::get<Model::Error>(expected).offset;
            EXPECT_TRUE(canBeCompleted(text.substr(0, offset))) << text;
            EXPECT_FALSE(offset < text.size() && canBeCompleted(text.substr(0, offset + 1))) << text;
        }
    }
}

TEST_F(Text, HasLinesAndColumns) {
    struct Row {
        std::string_view text;
        std::size_t offset, line, column, caret;
        std::string_view lineText;
    };
    static constexpr Row rows[] = {
        {"", 0, 1, 1, 0, ""},
        {"a\nbc\nd", 4, 2, 3, 2, "bc"},
        {"a\nbc\nd", 5, 3, 1, 0, "d"},
        {"a\n", 9, 2, 1, 0, ""},
        {"\tb\t/", 3, 1, 4, 16, "\tb\t/"},
        {"/\u00e9//", 3, 1, 3, 2, "/\u00e9//"},
        {"/\u00e9//", 2, 1, 2, 1, "/\u00e9//"},                                 // inside of a character
        {"e\u0301\u6f22\U0001f600|", 10, 1, 5, 5, "e\u0301\u6f22\U0001f600|"},  // combining, wide, wide
        {"\xff\xc3|\xe2\x82", 5, 1, 6, 5, "\xff\xc3|\xe2\x82"},                 // no characters
        {"\xed\xa0\x80\xc0\xaf\xf4\x90\x80\x80|", 9, 1, 10, 9, "\xed\xa0\x80\xc0\xaf\xf4\x90\x80\x80|"},
    };
    for (const Row& row : rows) {
        const auto [line, column, lineText, caret] = Tavik::locateOffset(row.text, row.offset);
        EXPECT_EQ(std::tuple(line, column, lineText, caret), std::tuple(row.line, row.column, row.lineText, row.caret));
    }
}

TEST_F(Text, OfLiteralsIsParsedOnce) {
    using namespace Tavik::literals;
    const auto literal = []() -> const ObjectPath& { return "/dev[id=3][bus=pci]"_path; };
    const auto use = [&] {
        const ObjectPath* const first = &literal();
        exit(first == &literal() && *first == Tavik::parseObjectPath("/dev[bus=pci][id=3]") && &"/"_path != first &&
                     ""_path.isRoot()
                 ? 0
                 : 1);
    };
    EXPECT_EXIT(use(), testing::ExitedWithCode(0), "");  // another process, because paths of literals live on
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
