// The core string against the standard one.

#include <iomanip>

#include "PathTest.h"

namespace {

using Tavik::String;
using Common = Tavik::Impl::StringCommon<char>;

using StringTest = PathTest;

/// What the two kinds of string do in different ways.
struct Own {
    static void consume(String& to, String& from) { to.append(std::move(from)); }
    static void consume(std::string& to, std::string& from) { to += &to == &from ? from : std::exchange(from, {}); }
    static String dedup(const String& text) { return Common::dedup(text); }
    static std::string dedup(const std::string& text) { return text; }
    static std::string_view view(const String& text) { return text.view(); }
    static std::string_view view(const std::string& text) { return text; }
};

/// Changes of one string, perhaps by another one, which may be the same.
template <typename Text>
constexpr void (*changes[])(Text& to, Text& from, std::string_view text) = {
    [](Text& to, Text&, std::string_view) { to.clear(); },
    [](Text& to, Text&, std::string_view text) { to = Text(text); },
    [](Text& to, Text&, std::string_view text) { to.append(text); },
    [](Text& to, Text& from, std::string_view) { to.append(from); },
    [](Text& to, Text& from, std::string_view) { to.append(Own::view(from).substr(Own::view(from).size() / 3, 9)); },
    [](Text& to, Text& from, std::string_view) { Own::consume(to, from); },
    [](Text& to, Text& from, std::string_view) { to = from; },
    [](Text& to, Text& from, std::string_view) { to = Text(std::move(from)); },
    [](Text& to, Text& from, std::string_view) { to = Own::dedup(from); },
};

void expectSame(const std::array<String, 3>& actual, const std::array<std::string, 3>& expected) {
    for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_EQ(actual[i].view(), expected[i]);
        EXPECT_EQ(actual[i].empty(), expected[i].empty());
        EXPECT_EQ(absl::Hash<String>{}(actual[i]), absl::Hash<std::string_view>{}(expected[i]));
        for (std::size_t j = 0; j < actual.size(); ++j) {
            EXPECT_EQ(actual[i].compare(actual[j]) < 0, expected[i] < expected[j]);
            EXPECT_EQ(std::less<String>{}(actual[i], actual[j]), expected[i] < expected[j]);
            EXPECT_EQ(actual[i].compare(actual[j]) == 0, expected[i] == expected[j]);
            EXPECT_EQ(actual[i] == actual[j], expected[i] == expected[j]);
            EXPECT_EQ(actual[i] == std::string_view(expected[j]), expected[i] == expected[j]);
        }
    }
}

TEST_F(StringTest, BehavesLikeTheStandardOne) {
    for (int round = 0; round < 500; ++round) {
        std::array<String, 3> actual;
        std::array<std::string, 3> expected;
        for (int step = 0; step < 40 && !HasFailure(); ++step) {
            std::string text(random.below(random.below(2) == 0 ? 5 : 30), 'x');
            std::for_each(text.begin(), text.end(), [&](char& byte) { byte = "xxxxx\0a\x80"[random.below(8)]; });
            const std::size_t change = random.below(std::size(changes<String>));
            const std::size_t to = random.below(actual.size());
            const std::size_t from = random.below(actual.size());
            SCOPED_TRACE(testing::Message() << "change " << change << " of " << to << " by " << from);
            changes<String>[change](actual[to], actual[from], text);
            changes<std::string>[change](expected[to], expected[from], text);
            expectSame(actual, expected);
        }
    }
}

TEST_F(StringTest, SharesLongTexts) {
    for (int round = 0; round < 2; ++round) {
        std::vector<String> texts;
        for (std::size_t i = 0; i < 10'000; ++i) {
            const std::string expected = fmt::format("a long text with the number {}", i % 5'000);
            texts.push_back(Common::dedup(expected));
            String extended = texts[i % 5'000];
            EXPECT_EQ(extended.view().data(), texts[i].view().data());
            extended.append("x");
            EXPECT_EQ(texts[i], std::string_view(expected));
        }
    }
}

TEST_F(StringTest, PrintsLikeAnyText) {
    EXPECT_EQ((std::ostringstream() << std::setfill('.') << std::setw(4) << String("ab")).str(), "..ab");
    EXPECT_EQ(fmt::format("{:.>4}|", Common::addRight("a", std::string_view("\0", 1))), std::string("..a\0|", 5));
}

}  // namespace
