#include <gtest/gtest.h>

#include <map>

#include "store/BlockTable.h"
#include "store/StrayBlocks.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::Variant;
using store::BlockRecord;

TEST(BlockScan, ABadEntryEndsItsPage)
{
    constexpr std::uint64_t kPlace = 0x6000;
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        StoreFormat format;
        format.variant = variant;
        const BbtEntry sound{8, kPlace, 100, 100, 2}, after{16, kPlace + 0x400, 100, 100, 2};
        const std::vector<std::pair<const char*, BbtEntry>> bad = {
            {"bid 0", {0, kPlace, 100, 100, 2}},
            {"ib 0", {12, 0, 100, 100, 2}},
            {"cb 0", {12, kPlace, 0, 0, 2}},
            {"cb too large", {12, kPlace, 65513, 65513, 2}},
            {"beyond the end", {12, 0x7FFF0000, 100, 100, 2}},
            {"unaligned", {12, kPlace + 8, 100, 100, 2}}};
        for (const auto& [name, entry] : bad) {
            const CLoadedStore loaded(RawStore(format, [&, wrong = entry](CStoreFile& store) {
                store.WriteBbtPage({sound, wrong, after});
                store.WriteBbtPage({{20, kPlace, 65512, 65512, 2}, {24, kPlace + 16, 1, 1, 2}});
            }));
            EXPECT_TRUE(loaded.source.blocks.Find(8)) << name;
            EXPECT_FALSE(loaded.source.blocks.Find(12)) << name;
            EXPECT_FALSE(loaded.source.blocks.Find(16)) << name << ": the rest of the page must not be read";
            EXPECT_TRUE(loaded.source.blocks.Find(20)) << name << ": the next page is read";
            EXPECT_TRUE(loaded.source.blocks.Find(24)) << name;
        }
    }
}

TEST(BlockScan, CountsAboveTheMaximumOrAMaximumOfZeroRefuseThePage)
{
    constexpr std::uint64_t kPlace = 0x6000;
    const std::vector<BbtEntry> entries = {{8, kPlace, 100, 100, 2}, {12, kPlace + 512, 100, 100, 2}};
    const auto found = [&](const PageOptions& options) {
        StoreFormat format;
        const CLoadedStore loaded(RawStore(format, [&](CStoreFile& store) {
            store.WriteBbtPage(entries, options);
            store.WriteBbtPage({{40, kPlace, 100, 100, 2}, {44, kPlace, 100, 100, 2}});
        }));
        return loaded.source.blocks.Find(8).has_value() + loaded.source.blocks.Find(12).has_value();
    };
    EXPECT_EQ(found({}), 2);
    EXPECT_EQ(found({.count = 1}), 1);
    EXPECT_EQ(found({.count = 2, .maximum = 2}), 2);
    EXPECT_EQ(found({.count = 3, .maximum = 2}), 0);
    EXPECT_EQ(found({.count = 0, .maximum = 0}), 0);
    EXPECT_EQ(found({.entrySize = 32}), 2) << "the size of a node entry is taken as well";
    EXPECT_EQ(found({.entrySize = 16}), 0);
    EXPECT_EQ(found({.type = 0x81}), 0);
    EXPECT_EQ(found({.goodSignature = false}), 0);
}

TEST(BlockTable, RetriesOneBelow)
{
    const Bytes nothing;
    CMemoryFileSystem files(nothing);
    store::CBlockTable blocks;
    blocks.Create(files, "index");
    for (const std::uint32_t bid : {8u, 16u, 1u})
        blocks.Append({bid, 100, bid * 64ull});
    blocks.Finish();
    EXPECT_EQ(blocks.Count(), 3u);
    EXPECT_EQ(blocks.Find(8)->ib, 512u);
    EXPECT_FALSE(blocks.Find(9));
    EXPECT_EQ(blocks.FindWithRetry(9)->bid, 8u);
    EXPECT_EQ(blocks.FindWithRetry(16)->bid, 16u);
    EXPECT_FALSE(blocks.FindWithRetry(7)) << "one below, never one above";
    EXPECT_FALSE(blocks.FindWithRetry(18));
    EXPECT_FALSE(blocks.FindWithRetry(0)) << "nothing lies below 0";
    EXPECT_EQ(blocks.FindWithRetry(2)->bid, 1u);
}

TEST(BlockTable, TheFirstStretchOf4000RecordsThatHoldsABidDecides)
{
    const Bytes nothing;
    CMemoryFileSystem files(nothing);
    store::CBlockTable blocks;
    blocks.Create(files, "index");
    constexpr std::uint32_t kStretch = 4000;
    for (std::uint32_t i = 1; i <= kStretch; ++i)
        blocks.Append({i * 4, 10, 64});
    const auto stretchWith = [&](std::uint32_t bid, std::uint32_t cb) {
        blocks.Append({bid, cb, 64});
        for (std::uint32_t i = 1; i < kStretch; ++i)
            blocks.Append({1'000'000 + cb * 10'000 + i, cb, 64});
    };
    stretchWith(8, 20);
    stretchWith(4002, 30);
    stretchWith(4002, 40);
    blocks.Finish();
    EXPECT_EQ(blocks.Find(8)->cb, 10u) << "held by the first and the second stretch";
    EXPECT_EQ(blocks.Find(4002)->cb, 30u) << "inside the first one's range, but not held by it";
}

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
