#include "format/Header.h"

#include <gtest/gtest.h>

#include "tests/format/Hex.h"
#include "tests/format/RealBytes.h"

namespace pastille::tests {
namespace {

using namespace format;

struct Case {
    const VariantLayout* layout;
    const char* hex;
    std::vector<std::pair<std::size_t, std::size_t>> carried;  ///< first and end of what no writer may change
};

TEST(Header, RealHeadersReadAsTheyAre)
{
    const auto bytes = FromHex(kRealUnicodeHeader);
    const auto checked = DecodeHeader(kUnicodeLayout, CByteView(bytes));
    ASSERT_TRUE(checked);
    EXPECT_EQ(checked->faults, kHeaderSound);
    const FileHeader& header = checked->header;
    EXPECT_EQ(header.version, 23);
    EXPECT_EQ(header.nextPageBid, 0x17Fu);
    EXPECT_EQ(header.nextBlockBid, 0x130u);
    EXPECT_EQ(header.unique, 22u);
    EXPECT_EQ(header.fileSize, 0x42400u);
    EXPECT_EQ(header.lastAMapOffset, 0x4400u);
    EXPECT_EQ(header.freeBytes, 240960u);
    EXPECT_EQ(header.freePageBytes, 0u);
    EXPECT_EQ(header.nodeTree, (BlockReference{0x17D, 0x9200}));
    EXPECT_EQ(header.blockTree, (BlockReference{0x17B, 0x8400}));
    EXPECT_EQ(header.amapValid, amapvalid::kValid);
    EXPECT_EQ(header.cryptMethod, 1);
    EXPECT_EQ(header.lastNodeIndex[2], 0x404u);
    EXPECT_EQ(header.lastNodeIndex[4], 0x10000u);

    const auto narrow = FromHex(kRealAnsiHeader);
    const auto ansi = DecodeHeader(kAnsiLayout, CByteView(narrow));
    ASSERT_TRUE(ansi);
    EXPECT_EQ(ansi->faults, kHeaderSound);
    EXPECT_EQ(ansi->header.version, 14);
    EXPECT_EQ(ansi->header.fileSize, 0x42400u);
    EXPECT_EQ(ansi->header.freeBytes, 229888u);
    EXPECT_EQ(ansi->header.freePageBytes, 6144u);
    EXPECT_EQ(ansi->header.nodeTree, (BlockReference{0xFE, 0x4E00}));
    EXPECT_EQ(ansi->header.blockTree, (BlockReference{0xFF, 0x5000}));
    EXPECT_EQ(ansi->header.cryptMethod, 1);
}

// All but reserved fields, checksums and (in the ANSI store) the obsolete free maps.
TEST(Header, EncodedHeadersCarryTheSameBytes)
{
    const Case cases[] = {
        {&kUnicodeLayout, kRealUnicodeHeader, {{0x00, 0x04}, {0x08, 0x10}, {0x20, 0xAC}, {0xB4, 0x20C}}},
        {&kAnsiLayout, kRealAnsiHeader, {{0x00, 0x04}, {0x08, 0x10}, {0x18, 0xCC}, {0x1CC, 0x1D0}}}};
    for (const Case& c : cases) {
        const auto real = FromHex(c.hex);
        std::vector<std::byte> ours(c.layout->headerBytes, std::byte{0x5A});
        EncodeHeader(*c.layout, DecodeHeader(*c.layout, CByteView(real))->header, ours);
        for (const auto& [first, end] : c.carried)
            for (std::size_t i = first; i < end; ++i)
                ASSERT_EQ(ours[i], real[i]) << std::hex << i;
        EXPECT_EQ(DecodeHeader(*c.layout, CByteView(ours))->faults, kHeaderSound);
    }
}

TEST(Header, DamageIsNamed)
{
    const std::pair<std::size_t, int> flips[] = {{0, kHeaderBadMagic},
                                                 {4, kHeaderBadPartialCrc},
                                                 {0x30, kHeaderBadPartialCrc | kHeaderBadFullCrc},
                                                 {0x1DF, kHeaderBadFullCrc},
                                                 {0x200, kHeaderBadSentinel | kHeaderBadFullCrc},
                                                 {0x20C, kHeaderBadFullCrc},
                                                 {0x210, kHeaderSound}};
    for (const auto& [offset, expected] : flips) {
        auto bytes = FromHex(kRealUnicodeHeader);
        bytes[offset] ^= std::byte{1};
        EXPECT_EQ(DecodeHeader(kUnicodeLayout, CByteView(bytes))->faults, expected) << std::hex << offset;
        bytes.pop_back();
        EXPECT_FALSE(DecodeHeader(kUnicodeLayout, CByteView(bytes)));
    }
}

}  // namespace
}  // namespace pastille::tests
