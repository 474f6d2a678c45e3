#include "erase/PatternBlocks.h"
#include "erase/Deleter.h"
#include "erase/EraseHarness.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace tpc::erase::test {
namespace {

TEST(PatternBlocks, ConstantBlocksHoldTheirByteEverywhere) {
    const PatternBlocks& b = PatternBlocks::shared();
    const std::pair<const std::uint8_t*, std::uint8_t> blocks[] = {{b.buff00(), 0x00},
                                                                   {b.buff55(), 0x55},
                                                                   {b.buff56(), 0x56},
                                                                   {b.buffAA(), 0xAA},
                                                                   {b.buffFF(), 0xFF}};
    for (const auto& [block, byte] : blocks)
        EXPECT_TRUE(
            std::all_of(block, block + kBlockSize, [&, byte = byte](auto v) { return v == byte; }))
            << "block of 0x" << std::hex << int(byte);
}

TEST(PatternBlocks, RandomBlockIsDrawnOncePerInstance) {
    const PatternBlocks& b = PatternBlocks::shared();
    EXPECT_EQ(&b, &PatternBlocks::shared());
    std::set<std::uint8_t> seen(b.buffRND(), b.buffRND() + kBlockSize);
    EXPECT_GT(seen.size(), 200u) << "32 KiB of random bytes take nearly every value";
    // The same buffer for every random pass, and a different draw in another instance.
    EXPECT_EQ(b.fillBuffer(7, 0), b.fillBuffer(7, 34));
    PatternBlocks other;
    EXPECT_FALSE(std::equal(b.buffRND(), b.buffRND() + kBlockSize, other.buffRND()));
}

TEST(PatternBlocks, EveryPassOfEveryMethodFollowsTheTable) {
    const PatternBlocks& b = PatternBlocks::shared();
    for (std::int64_t method = 0; method <= 8; ++method) {
        const auto expected = passPatterns(method);
        ASSERT_EQ(passesForMethod(method), static_cast<int>(expected.size())) << method;
        for (std::size_t pass = 0; pass < expected.size(); ++pass)
            EXPECT_EQ(blockName(b, b.fillBuffer(method, static_cast<std::int64_t>(pass))),
                      expected[pass])
                << "method " << method << " pass " << pass;
    }
}

TEST(PatternBlocks, LongMethodsKeepPass32AsZerosAmongTheRandomTail) {
    const PatternBlocks& b = PatternBlocks::shared();
    for (std::int64_t method : {7, 8}) {
        EXPECT_EQ(b.fillBuffer(method, 31), b.buffRND());
        EXPECT_EQ(b.fillBuffer(method, 32), b.buff00());
        EXPECT_EQ(b.fillBuffer(method, 33), b.buffRND());
        EXPECT_EQ(b.fillBuffer(method, 34), b.buffRND());
    }
    EXPECT_EQ(b.fillBuffer(6, 0), b.buff56()) << "DoD5200 writes 0x56, not 0x55";
}

TEST(PatternBlocks, NoBlockOutsideTheTable) {
    const PatternBlocks& b = PatternBlocks::shared();
    for (std::int64_t method :
         std::initializer_list<std::int64_t>{-1, -2, 9, 100, INT64_MIN, INT64_MAX})
        EXPECT_EQ(b.fillBuffer(method, 0), nullptr) << method;
    for (std::int64_t method = 0; method <= 8; ++method) {
        EXPECT_EQ(b.fillBuffer(method, passesForMethod(method)), nullptr) << method;
        EXPECT_EQ(b.fillBuffer(method, -1), nullptr) << method;
    }
    EXPECT_EQ(b.fillBuffer(2, 3), nullptr);
    EXPECT_EQ(b.fillBuffer(7, 35), nullptr);
    EXPECT_NE(b.fillBuffer(8, 37), nullptr);
}

TEST(PatternBlocks, PassCountsDefaultToOne) {
    const int expected[] = {1, 1, 3, 3, 7, 7, 7, 35, 38};
    for (std::int64_t method = 0; method <= 8; ++method)
        EXPECT_EQ(passesForMethod(method), expected[method]) << method;
    for (std::int64_t method : std::initializer_list<std::int64_t>{-1, 9, INT64_MIN, INT64_MAX})
        EXPECT_EQ(passesForMethod(method), 1) << method;
}

TEST(UUIDString, IsAFreshUpperCaseVersion4Uuid) {
    const std::regex canonical(
        "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const auto uuid = UUIDString();
        EXPECT_TRUE(std::regex_match(uuid, canonical)) << uuid;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 100u);
}

} // namespace
} // namespace tpc::erase::test
