// Long strings when memory runs out.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>

#include <Tavik/Core/String.h>

namespace {

using Tavik::String;
using Common = Tavik::Impl::StringCommon<char>;

std::size_t largestArray = SIZE_MAX;  // that can be allocated; a block is an array of one
std::size_t allocations = 0;
std::size_t chains = 0;

TEST(Strings, AreSharedAsMemoryAllows) {
    for (const std::size_t limit : {std::size_t{1}, std::size_t{16}, SIZE_MAX}) {
        largestArray = limit;
        chains = 0;
        std::vector<String> strings(10'000);
        for (std::size_t i = 0; i < strings.size(); ++i) {
            const std::string expected = fmt::format("a long string with the number {}", i % 5'000);
            const std::size_t before = allocations;
            strings[i] = i < 5'000 ? Common::dedup(String(expected)) : Common::dedup(expected);
            EXPECT_EQ(allocations == before, i >= 5'000 && limit > 1) << "exactly what is found needs no memory";
            EXPECT_EQ(strings[i].data() == strings[i % 5'000].data(), i < 5'000 || limit > 1);
            EXPECT_EQ(strings[i], expected);
        }
    }
    EXPECT_GE(chains, 5'000U) << "there must be as many chains as strings";
}

TEST(StringsDeathTest, ReportThatMemoryRunsOut) {
    const std::string text(99, 'x');
    const auto exhaust = [&] {
        static_cast<void>(Common::dedup(text));  // makes chains
        largestArray = 0;
        std::signal(SIGABRT, [](int) { _exit(fork() < 0); });  // waits for all locks of the pool
        alarm(60);
    };
    const char* const report = "no memory for a string of 99 bytes\n$";
    EXPECT_EXIT((exhaust(), static_cast<void>(String(text))), testing::ExitedWithCode(0), report);
    EXPECT_EXIT((exhaust(), String().append(text)), testing::ExitedWithCode(0), report);
    EXPECT_EXIT((exhaust(), static_cast<void>(Common::dedup(text))), testing::ExitedWithCode(0), report);
}

}  // namespace

extern "C" {

void* __libc_calloc(std::size_t count, std::size_t size);

// The core library allocates by these.
void* calloc(std::size_t count, std::size_t size) noexcept {
    ++allocations;
    chains += count > 1 && count <= largestArray ? count : 0;
    return count <= largestArray ? __libc_calloc(count, size) : nullptr;
}

void* malloc(std::size_t size) noexcept {
    return calloc(1, size);
}
}
