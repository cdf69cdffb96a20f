#include <gtest/gtest.h>

#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::Variant;
using store::BlockRecord;

/// A store with blocks of many sizes, some ending in zeros.
StoreDescription ManyBlocks(Variant variant)
{
    StoreDescription store;
    store.format.variant = variant;
    store.format.blocksPerPage = 7;
    store.beforeTrees = [](CStoreFile& file) {
        for (std::size_t size : {1u, 4u, 15u, 16u, 17u, 48u, 52u, 64u, 100u, 500u, 3000u, 8000u}) {
            Bytes data(size, std::byte{0x3C});
            file.WriteBlock(data);
            std::fill(data.begin() + static_cast<std::ptrdiff_t>(size / 2), data.end(), std::byte{0});
            if (size > 1)
                file.WriteBlock(data);
        }
    };
    return store;
}

/// Every block of the directory must be found where it is.
void ExpectEveryBlock(const CBuiltStore& built, const store::CBlockTable& blocks)
{
    std::size_t seen = 0;
    for (const StorePlace& place : built.Directory().places) {
        if (place.kind < PlaceKind::Data)
            continue;
        ++seen;
        const auto found = blocks.Find(static_cast<std::uint32_t>(place.bid));
        ASSERT_TRUE(found) << place.name << " " << place.bid;
        EXPECT_EQ(found->ib, place.offset) << place.name << " " << place.stored;
        EXPECT_EQ(found->cb, place.stored) << place.name;
    }
    EXPECT_GT(seen, 50u);
}

TEST(BlockScan, FindsBlocksByTheirTrailersWhenPagesAreLost)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        for (const std::uint16_t count : {std::uint16_t{0}, std::uint16_t{250}}) {
            CBuiltStore store(ManyBlocks(variant));
            if (count == 0)
                store.Damage().Drop(PlaceKind::BbtLeaf);
            else
                store.Damage().SetPageCount(PlaceKind::BbtLeaf, count);
            const CLoadedStore loaded(store);
            ExpectEveryBlock(store, loaded.source.blocks);
        }
    }
}

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

}  // namespace
}  // namespace pastille::tests
