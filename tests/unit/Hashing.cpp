// Hashes of strings, paths and nodes.

#include <set>

#include "Checks.h"
#include "PathTest.h"

namespace {

using Tavik::ObjectPath;

using Hashing = PathTest;

/// Expects that the hashes differ, and that every bit of them depends on the content. Of few hashes, even the lower
/// halves differ, by which tables choose slots.
void expectGoodHashes(const std::vector<std::uint64_t>& hashes) {
    constexpr std::uint64_t lower = (std::uint64_t{1} << 40) - 1;
    const bool areFew = hashes.size() < 2'000;
    std::set<std::uint64_t> distinct;
    std::uint64_t anySet = 0;
    std::uint64_t allSet = UINT64_MAX;
    for (const std::uint64_t hash : hashes) {
        distinct.insert(areFew ? hash & lower : hash);
        anySet |= hash;
        allSet &= hash;
    }
    EXPECT_EQ(distinct.size(), hashes.size());
    ASSERT_GE(hashes.size(), 30U) << "too few to judge the bits by";
    EXPECT_EQ(anySet, UINT64_MAX) << "some bits are never set";
    EXPECT_EQ(allSet, 0U) << "some bits are always set";
}

template <typename Table>
std::vector<std::uint64_t> hashesOf(const Table& table) {
    std::vector<std::uint64_t> hashes;
    for (const auto& [content, node] : table) {
        hashes.push_back(table.hash_function()(content));
    }
    return hashes;
}

void expectGoodHashesInTables() {
    expectGoodHashes(hashesOf(Tavik::Impl::inspectSegmentTable()));
    expectGoodHashes(hashesOf(Tavik::Impl::inspectValueTable()));
}

/// Every bit of a string counts, wherever it is. Swapped bytes do not cancel out.
TEST_F(Hashing, TellsStringsApart) {
    for (const std::size_t size : {1U, 4U, 8U, 9U, 15U, 16U, 40U, 240U, 241U, 300U, 900U}) {
        SCOPED_TRACE(size);
        std::string text(size, 'a');
        std::vector<std::uint64_t> hashes;
        const auto addHash = [&] { hashes.push_back(Tavik::String(text).keyedHash()); };
        addHash();
        for (char& byte : text) {
            for (const int mask : size < 8 ? std::vector{1, 2, 3, 4, 8, 16, 32, 64, 128, 9} : std::vector{1, 128}) {
                byte = static_cast<char>('a' ^ mask);
                addHash();
            }
            byte = 'a';
        }
        if (hashes.size() > 30) {
            expectGoodHashes(hashes);
        }
    }
    EXPECT_NE(Tavik::String("b2345678a234567").keyedHash(), Tavik::String("a2345678b234567").keyedHash());
}

TEST_F(Hashing, TellsPathsApart) {
    std::set<std::string> strings;
    std::set<ObjectPath> paths;
    const std::vector<Checks::Sample> samples = Checks::related(random);
    for (const Checks::Sample& sample : samples) {
        strings.insert(Model::write(sample.model));
        paths.insert(sample.path);
    }
    EXPECT_LT(strings.size(), samples.size()) << "some of the paths should be equal";
    EXPECT_EQ(strings.size(), paths.size());
    std::vector<std::uint64_t> standardHashes;
    std::vector<std::uint64_t> hashes;
    for (const ObjectPath& path : paths) {
        standardHashes.push_back(std::hash<ObjectPath>()(path));
        hashes.push_back(absl::Hash<ObjectPath>()(path));
    }
    expectGoodHashes(standardHashes);
    expectGoodHashes(hashes);
}

TEST_F(Hashing, KeepsTablesSmall) {
    const auto number = [](std::size_t i) {
        return ObjectPath().append(std::to_string(i), {{"k", std::to_string(i)}});
    };
    const auto slots = [] {
        return std::max(Tavik::Impl::inspectSegmentTable().bucket_count(),
                        Tavik::Impl::inspectValueTable().bucket_count());
    };
    std::vector<ObjectPath> paths;
    for (const std::size_t slotsBefore = slots(); paths.size() < 200'000;) {
        paths.push_back(number(paths.size()));
        ASSERT_LT(slots(), std::max(slotsBefore + 1, 3 * paths.size() + 32));
    }
    expectGoodHashesInTables();
    paths.resize(1'000);
    EXPECT_LT(slots(), 17 * paths.size()) << "tables give memory back";
    expectGoodHashesInTables();
    for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_EQ(number(i), paths[i]);
    }
}

}  // namespace
