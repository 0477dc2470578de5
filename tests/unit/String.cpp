// The core string against the standard one.

#include <Tavik/Core/Format.h>

#include "Checks.h"
#include "PathTest.h"
#include "StringUse.h"

namespace {

using Tavik::String;
using Common = Tavik::Impl::StringCommon<char>;

using StringTest = PathTest;

/// Operations whose spelling differs between the two string types.
struct Spelling {
    static String dedup(const String& text) { return Common::dedup(text); }
    static std::string dedup(const std::string& text) { return text; }
    static void consume(String& to, String& from) { to.append(std::move(from)); }
    static void consume(std::string& to, std::string& from) { to += &to == &from ? from : std::exchange(from, {}); }
};

/// A change of one string, perhaps by another one, which may be the same.
struct Change {
    template <typename Apply>
    constexpr Change(const char* changeName, Apply apply)
        : name(changeName), applyToOurs(apply), applyToStandard(apply) {}

    const char* name;
    void (*applyToOurs)(String& to, String& from, std::string_view text);
    void (*applyToStandard)(std::string& to, std::string& from, std::string_view text);
};

constexpr Change changes[] = {
    {"clear", [](auto& to, auto&, std::string_view) { to.clear(); }},
    {"assign", [](auto& to, auto&, std::string_view text) { to = std::decay_t<decltype(to)>(text); }},
    {"append", [](auto& to, auto&, std::string_view text) { to.append(std::string(text)); }},
    {"append nothing", [](auto& to, auto&, std::string_view) { to.append(std::string_view()); }},
    {"append a string", [](auto& to, auto& from, std::string_view) { to.append(from); }},
    {"append a part",
     [](auto& to, auto& from, std::string_view) { to.append(std::string_view(from).substr(from.size() / 3, 9)); }},
    {"append and consume", [](auto& to, auto& from, std::string_view) { Spelling::consume(to, from); }},
    {"copy", [](auto& to, auto& from, std::string_view) { to = from; }},
    {"move", [](auto& to, auto& from, std::string_view) { to = std::decay_t<decltype(to)>(std::move(from)); }},
    {"share", [](auto& to, auto& from, std::string_view) { to = Spelling::dedup(from); }},
};

static_assert(std::three_way_comparable<String, std::strong_ordering>);  // as a defaulted <=> requires

void expectSame(const std::array<String, 3>& actual, const std::array<std::string, 3>& expected) {
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(StringUse::differenceFrom(expected[i], actual[i]), "");
        Checks::requireWrittenAs(actual[i], expected[i]);
        for (std::size_t j = 0; j < actual.size(); ++j) {
            EXPECT_EQ(StringUse::differenceOfOrder(actual[i], expected[i], actual[j], expected[j]), "");
            EXPECT_EQ(actual[i].keyedHash() == actual[j].keyedHash(), expected[i] == expected[j]);
            const std::strong_ordering order = expected[i] <=> expected[j];
            EXPECT_EQ(actual[i].compare(actual[j]) <=> 0, order);
            EXPECT_EQ(actual[i] <=> expected[j], order);
            EXPECT_EQ(actual[i] <=> actual[j], order);
            EXPECT_EQ(expected[i] <=> actual[j], order);
        }
    }
}

TEST_F(StringTest, BehavesLikeTheStandardOne) {
    static constexpr std::string_view bytes("xxxxx\0a\x80", 8);
    std::vector<String> kept;  // so that the pool grows
    for (int round = 0; round < 500; ++round) {
        std::array<String, 3> actual;
        std::array<std::string, 3> expected;
        for (int step = 0; step < 40 && !HasFailure(); ++step) {
            std::string text(random.below(random.oneIn(2) ? 5 : 30), 'x');
            for (char& byte : text) {
                byte = bytes[random.below(bytes.size())];
            }
            kept.push_back(Common::dedup(text));
            const Change& change = changes[random.below(std::size(changes))];
            const std::size_t to = random.below(actual.size());
            const std::size_t from = random.below(actual.size());
            SCOPED_TRACE(fmt::format("{}: string {} by string {} or '{}'", change.name, to, from, text));
            change.applyToOurs(actual[to], actual[from], text);
            change.applyToStandard(expected[to], expected[from], text);
            expectSame(actual, expected);
        }
    }
}

TEST_F(StringTest, IsTheSameHoweverItIsMade) {
    const std::string text = "a string with parts of every size";
    for (std::size_t size = 0; size <= text.size(); ++size) {
        for (std::size_t split = 0; split <= size; ++split) {
            String appended(text.substr(0, split));
            appended.append(text.substr(split, size - split));
            EXPECT_EQ(StringUse::differenceFrom(text.substr(0, size), appended), "") << split << " of " << size;
        }
    }
}

/// A string that grows in place must be the only owner of its buffer.
TEST_F(StringTest, DoesNotChangeItsCopy) {
    String text(std::string(40, 'x'));
    text.append(" and some");  // makes room for more
    String copy = text;
    text.append("xx");
    copy.append("yy");
    EXPECT_EQ(text, std::string(40, 'x') + " and somexx");
    EXPECT_EQ(copy, std::string(40, 'x') + " and someyy");
}

TEST_F(StringTest, IsFormattedWhateverItsSize) {
    for (const std::size_t size : {499U, 500U, 501U, 5'000U}) {
        EXPECT_EQ(Tavik::formatString("{:*>{}}", fmt::make_format_args("x", size)), std::string(size - 1, '*') + 'x');
    }
}

TEST_F(StringTest, RarelyMovesWhenItGrows) {
    String text("x");
    std::size_t moves = 0;
    for (int i = 1; i < 10'000; ++i) {
        const char* const before = text.data();
        text = Common::addRight(std::move(text), "x");
        moves += text.data() != before;
    }
    EXPECT_LT(moves, 20U);
    EXPECT_EQ(text, std::string(10'000, 'x'));
    struct Name : String {
    } name;
    name.append(text);
    EXPECT_EQ(String(std::move(name)).data(), text.data());
}

}  // namespace
