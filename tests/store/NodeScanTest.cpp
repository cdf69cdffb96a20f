#include <gtest/gtest.h>

#include <set>

#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::Variant;
using Fields = std::array<std::uint64_t, 4>;

Fields FieldsOf(const store::NodeRecord& record)
{
    return {record.nid, record.bidData, record.bidSub, record.nidParent};
}

store::CNodeList Scan(const Bytes& bytes, Variant variant)
{
    CMemoryFileSystem files(bytes);
    store::CSourceFile source;
    source.Open(files, "source.pst");
    store::CNodeList nodes;
    store::PageFindings findings;
    EXPECT_TRUE(store::ScanNodePages(source, format::LayoutOf(variant), nodes, findings,
                                     [](std::uint64_t) { return true; }));
    nodes.Finish();
    return nodes;
}

/// Scans a file with these pages and nothing else.
std::vector<Fields> ScanPages(Variant variant,
                              const std::vector<std::pair<std::vector<NbtEntry>, PageOptions>>& pages)
{
    StoreFormat format;
    format.variant = variant;
    std::vector<Fields> found;
    for (const store::NodeRecord& record : Scan(RawStore(format,
                                                         [&](CStoreFile& store) {
                                                             for (const auto& [entries, options] : pages)
                                                                 store.WriteNbtPage(entries, options);
                                                         }),
                                                variant))
        found.push_back(FieldsOf(record));
    return found;
}

TEST(NodeScan, OrderIsBySubnodeBidAndThenAsFound)
{
    const NbtEntry a{0x204, 40, 8, 0x122}, b{0x224, 44, 4, 0x122}, c{0x244, 48, 8, 0x122},
        d{0x264, 52, 0, 0x122};
    const std::vector<Fields> expected = {
        {0x264, 52, 0, 0x122}, {0x224, 44, 4, 0x122}, {0x204, 40, 8, 0x122}, {0x244, 48, 8, 0x122}};
    EXPECT_EQ(ScanPages(Variant::Unicode, {{{a, b, c, d}, {}}}), expected);
    EXPECT_EQ(ScanPages(Variant::Ansi, {{{a, b}, {}}, {{c, d}, {}}}), expected) << "over several pages too";
}

TEST(NodeScan, ManyNodesWithoutSubnodesStayInTheOrderFound)
{
    std::vector<std::pair<std::vector<NbtEntry>, PageOptions>> pages(20);
    std::vector<Fields> expected;
    for (std::uint32_t i = 0; i < 300; ++i) {
        const std::uint32_t nid = 0x204 + 32 * (i * 77 % 300);
        pages[i / 15].first.push_back({nid, 4, 0, 0x122});
        expected.push_back({nid, 4, 0, 0x122});
    }
    EXPECT_EQ(ScanPages(Variant::Unicode, pages), expected);
}

TEST(NodeScan, OnlyRepeatsNextToEachOtherAreDropped)
{
    const NbtEntry x{0x204, 40, 8, 0x122}, y{0x224, 44, 8, 0x122}, z{0x264, 52, 0, 0x122};
    const Fields fx{0x204, 40, 8, 0x122}, fy{0x224, 44, 8, 0x122}, fz{0x264, 52, 0, 0x122};
    EXPECT_EQ(ScanPages(Variant::Unicode, {{{x, x, x}, {}}, {{x}, {}}}), std::vector<Fields>{fx});
    EXPECT_EQ(ScanPages(Variant::Unicode, {{{x, y, x}, {}}}), (std::vector<Fields>{fx, fy, fx}));
    EXPECT_EQ(ScanPages(Variant::Unicode, {{{x, z, x}, {}}}), (std::vector<Fields>{fz, fx}))
        << "a record with another subnode BID does not stand between";
    NbtEntry other = x;
    other.parent = 0x8022;
    EXPECT_EQ(ScanPages(Variant::Unicode, {{{x, other}, {}}}).size(), 2u) << "all four fields must agree";
}

TEST(NodeScan, EntriesWithValuesTooLargeAreSkippedOneByOne)
{
    constexpr std::uint32_t kLimit = 0xFFFFFF;
    for (const Variant variant : kAllVariants) {
        const NbtEntry first{0x204, 4, 0, 0x122}, last{0x224, 8, 0, 0x122};
        for (const NbtEntry& middle : {NbtEntry{0x214, kLimit, 0, 0x122}, NbtEntry{0x214, 4, kLimit, 0x122},
                                       NbtEntry{0x214, 4, 0, kLimit}, NbtEntry{0x214, 4, 0, 0xFFFFFFFF}})
            EXPECT_EQ(ScanPages(variant, {{{first, middle, last}, {}}}).size(), 2u);
        EXPECT_EQ(ScanPages(variant, {{{first, {0xFFFFFFE4, kLimit - 1, kLimit - 1, kLimit - 1}, last}, {}}})
                      .size(),
                  3u)
            << "the limit itself, and any node id";
    }
}

TEST(NodeScan, AZeroNodeIdEndsThePageAndCountsAreNotBelieved)
{
    for (const Variant variant : kAllVariants) {
        const NbtEntry a{0x204, 4, 0, 0x122}, zero{0, 4, 0, 0x122}, b{0x224, 8, 0, 0x122};
        EXPECT_EQ(ScanPages(variant, {{{a, zero, b}, {}}}), (std::vector<Fields>{{0x204, 4, 0, 0x122}}));
        EXPECT_EQ(ScanPages(variant, {{{a, b}, {.count = 0}}}).size(), 2u);
        EXPECT_EQ(ScanPages(variant, {{{a, b}, {.count = 200}}}).size(), 2u);
    }
}

TEST(NodeScan, AFullPageGivesAllItsEntries)
{
    for (const auto& [variant, fitting] : {std::pair(Variant::Ansi, 31), std::pair(Variant::Unicode, 15),
                                           std::pair(Variant::Unicode4k, 126)}) {
        std::vector<NbtEntry> entries;
        for (int i = 0; i < fitting; ++i)
            entries.push_back({static_cast<std::uint32_t>(0x204 + 32 * i), 4, 0, 0x122});
        EXPECT_EQ(ScanPages(variant, {{entries, {}}}).size(), static_cast<std::size_t>(fitting));
    }
}

TEST(NodeScan, SignaturesMatterForIndexSizedPagesOnly)
{
    const NbtEntry a{0x204, 4, 0, 0x122};
    for (const Variant variant : kAllVariants) {
        EXPECT_EQ(ScanPages(variant, {{{a}, {.goodSignature = false}}}).size(), 1u);
        EXPECT_EQ(ScanPages(variant, {{{a}, {.entrySize = 24}}}).size(), 1u);
        EXPECT_EQ(ScanPages(variant, {{{a}, {.entrySize = 24, .goodSignature = false}}}).size(), 0u);
        EXPECT_EQ(ScanPages(variant, {{{a}, {.entrySize = 20}}}).size(), 0u);
        EXPECT_EQ(ScanPages(variant, {{{a}, {.type = 0x80}}}).size(), 0u);
    }
}

TEST(NodeScan, RemembersThePageOfEachEntry)
{
    StoreFormat format;
    std::uint64_t first = 0, second = 0;
    const Bytes bytes = RawStore(format, [&](CStoreFile& store) {
        first = store.WriteNbtPage({{0x204, 4, 0, 0x122}}, {.bid = 0x11});
        second = store.WriteNbtPage({{0x224, 8, 0, 0x122}}, {.bid = 0x15});
    });
    const store::CNodeList nodes = Scan(bytes, Variant::Unicode);
    ASSERT_EQ(nodes.Size(), 2u);
    EXPECT_EQ(nodes.PageOf(nodes[0]).Offset(), first);
    EXPECT_EQ(nodes.PageOf(nodes[0]).bid, 0x11u);
    EXPECT_EQ(nodes.PageOf(nodes[1]).Offset(), second);
    EXPECT_EQ(nodes.PageOf(nodes[1]).bid, 0x15u);
}

TEST(NodeScan, PagesBeforeTheScanStartAndBeyondTheEndDoNotCount)
{
    for (const Variant variant : kAllVariants) {
        StoreFormat format;
        format.variant = variant;
        std::uint64_t page = 0;
        Bytes bytes = RawStore(format, [&](CStoreFile& store) {
            page = store.WriteNbtPage({{0x204, 4, 0, 0x122}});
            store.WriteBlock(Bytes(100));
        });
        ASSERT_EQ(page, store::ScanStart(variant));
        const std::size_t size = format::LayoutOf(variant).pageSize;
        Bytes early = bytes;
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(page), size,
                    early.begin() + static_cast<std::ptrdiff_t>(page - size));
        std::fill_n(early.begin() + static_cast<std::ptrdiff_t>(page), size, std::byte{0});
        EXPECT_EQ(Scan(early, variant).Size(), 0u);
        bytes.resize(page + size);
        EXPECT_EQ(Scan(bytes, variant).Size(), 1u);
        bytes.resize(page + 40);
        EXPECT_EQ(Scan(bytes, variant).Size(), 0u) << "a page cut off has no trailer";
    }
}

}  // namespace
}  // namespace pastille::tests
