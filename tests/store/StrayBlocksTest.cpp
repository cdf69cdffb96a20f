#include "store/StrayBlocks.h"

#include <gtest/gtest.h>

#include <map>

#include "store/BlockTable.h"

namespace pastille::tests {
namespace {

using store::BlockRecord;
using enum store::TrailerBlock::Mark;

constexpr std::uint8_t kProven = kSigned | kSound, kDamaged = kSigned, kMoved = kSound, kDoubtful = 0;

struct Found {
    BlockRecord record;
    std::uint8_t marks;
};

/// Where each BID lies after the trailers were settled against what pages name; nowhere: 0.
std::map<std::uint32_t, std::uint64_t> Settle(const std::vector<BlockRecord>& named,
                                              const std::vector<Found>& found, bool wide = true)
{
    store::CBlockTable blocks;
    blocks.CreateInMemory();
    std::vector<store::TrailerBlock> trailers;
    for (const BlockRecord& record : named)
        blocks.Append(record);
    for (const Found& block : found) {
        trailers.emplace_back(block.record, block.marks, 0);
        if (!wide && (block.marks & kSigned) != 0)
            blocks.Append(block.record);
    }
    store::ScanFindings findings;
    store::COccupiedSpace pages;
    pages.Add(0x20000, 512);
    store::SettleStrayBlocks(wide ? format::kUnicodeLayout : format::kAnsiLayout, std::move(pages), trailers,
                             blocks, findings);
    blocks.Finish();
    std::map<std::uint32_t, std::uint64_t> places;
    for (std::uint32_t bid = 4; bid <= 52; bid += 4)
        places[bid] = blocks.Find(bid).value_or(BlockRecord{}).ib;
    std::uint64_t strays = 0;
    for (const auto& [bid, place] : places)
        strays += place != 0 && std::ranges::count(named, bid, &BlockRecord::bid) == 0;
    EXPECT_EQ(findings.strayBlocks, strays);
    return places;
}

TEST(StrayBlocks, AnOldTrailerBehindReusedSpaceIsNoBlock)
{
    const auto places =
        Settle({{4, 100, 0x5000}}, {{{8, 100, 0x6000}, kProven},
                                    {{12, 600, 0x5000}, kDamaged},  // its beginning is block 4
                                    {{16, 600, 0x5F00}, kDamaged},  // block 8 lies in it
                                    {{20, 600, 0x4E00}, kDamaged},  // its end is block 4
                                    {{24, 0x200, 0x4C00}, kDamaged},
                                    {{28, 100, 0x6040}, kMoved},  // in block 8
                                    {{32, 100, 0x5020}, kMoved},
                                    {{36, 100, 0x5000}, kDoubtful},
                                    {{40, 100, 0x7000}, kDoubtful},
                                    {{44, 100, 0x20100}, kMoved},     // in a page
                                    {{48, 100, 0x201F0}, kDamaged},   // its beginning is a page
                                    {{8, 100, 0x9000}, kMoved},       // a second copy of block 8 ...
                                    {{52, 100, 0x9020}, kDamaged}});  // ... lies in it
    for (const std::uint32_t bid : {12, 16, 20, 28, 36, 44, 48, 52})
        EXPECT_EQ(places.at(bid), 0u) << bid;
    EXPECT_EQ(places.at(24), 0x4C00u) << "damaged, but nobody else's";
    EXPECT_EQ(places.at(32), 0x5020u) << "no proven block lies there, and its bytes are right";
    EXPECT_EQ(places.at(40), 0x7000u);
    EXPECT_EQ(places.at(4), 0x5000u);
    EXPECT_EQ(places.at(8), 0x6000u);
}

TEST(StrayBlocks, ASoundBlockCorrectsATableAndADamagedOneDoesNot)
{
    const std::vector<BlockRecord> named = {
        {4, 100, 0x5000}, {8, 100, 0x6000}, {12, 100, 0x7000}, {16, 100, 0x8000}};
    const std::vector<Found> found = {{{4, 80, 0x9000}, kProven},    {{8, 80, 0xA000}, kDamaged},
                                      {{12, 80, 0xB000}, kMoved},    {{16, 80, 0xC000}, kDoubtful},
                                      {{20, 80, 0xD000}, kMoved},    {{20, 80, 0xE000}, kProven},
                                      {{24, 80, 0xF000}, kDoubtful}, {{24, 80, 0x10000}, kDamaged}};
    const auto wide = Settle(named, found);
    EXPECT_EQ(wide.at(4), 0x9000u);
    EXPECT_EQ(wide.at(8), 0x6000u);
    EXPECT_EQ(wide.at(12), 0xB000u);
    EXPECT_EQ(wide.at(16), 0x8000u);
    EXPECT_EQ(wide.at(20), 0xE000u) << "in its place before one that has moved";
    EXPECT_EQ(wide.at(24), 0x10000u) << "with its signature before one without";
    const auto narrow = Settle(named, found, false);
    EXPECT_EQ(narrow.at(12), 0xB000u);
    EXPECT_EQ(narrow.at(16), 0x8000u);
    EXPECT_EQ(narrow.at(20), 0xE000u);
    EXPECT_EQ(narrow.at(24), 0x10000u);
}

TEST(StrayBlocks, OfSeveralPlacesInTheTablesTheTrailerTellsTheTrueOne)
{
    std::vector<BlockRecord> named;
    for (const std::uint64_t place : {0x5000u, 0x6000u, 0x7000u}) {
        named.push_back({4, 100, place});
        named.push_back({8, 100, place + 0x400});
    }
    const auto places = Settle(
        named, {{{4, 100, 0x5000}, kProven}, {{8, 100, 0x7400}, kProven}, {{8, 100, 0x5400}, kDamaged}});
    EXPECT_EQ(places.at(4), 0x5000u);
    EXPECT_EQ(places.at(8), 0x7400u);
}

TEST(StrayBlocks, BlocksThatTouchDoNotOverlap)
{
    const auto places = Settle({}, {{{4, 0x100, 0x5000}, kProven},
                                    {{8, 0x100, 0x5100}, kDamaged},
                                    {{12, 0x100, 0x4F00}, kDamaged},
                                    {{16, 1, 0x50F0}, kDamaged}});
    EXPECT_EQ(places.at(8), 0x5100u);
    EXPECT_EQ(places.at(12), 0x4F00u);
    EXPECT_EQ(places.at(16), 0u);
}

}  // namespace
}  // namespace pastille::tests
