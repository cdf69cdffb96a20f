#include "format/Page.h"

#include <gtest/gtest.h>

#include "format/Block.h"
#include "tests/format/Hex.h"
#include "tests/format/RealBytes.h"

namespace pastille::tests {
namespace {

using namespace format;

constexpr const VariantLayout* kLayouts[] = {&kAnsiLayout, &kUnicodeLayout, &kUnicode4kLayout};

TEST(Page, RealIndexPageIsReadAndEncodedAlike)
{
    auto page = FromHex(kRealNodeTreePage);
    page.resize(512);
    EncodePageTrailer(kUnicodeLayout, page, PageType::NodeTree, 0x9200, 0x17D);
    EXPECT_EQ(LoadLE<std::uint32_t>(page, 500), 0xAE5C764Eu);
    EXPECT_EQ(LoadLE<std::uint16_t>(page, 498), 0x937D);
    const auto view = CTreePage::Parse(kUnicodeLayout, CByteView(page));
    ASSERT_TRUE(view);
    EXPECT_EQ(view->Level(), 1u);
    ASSERT_EQ(view->Count(), 4u);
    EXPECT_EQ(view->ChildAt(0).key, 0x21u);
    for (std::size_t i = 1; i < view->Count(); ++i)
        EXPECT_LT(view->KeyAt(i - 1), view->KeyAt(i));
    std::vector<std::byte> ours(512);
    for (std::size_t i = 0; i < view->Count(); ++i)
        EncodeIndexEntry(kUnicodeLayout, view->ChildAt(i), std::span(ours).subspan(24 * i));
    EncodeTreePage(kUnicodeLayout, ours, PageType::NodeTree, 1, 4, 0x9200, 0x17D);
    EXPECT_TRUE(std::equal(ours.begin(), ours.begin() + 96, page.begin()));
    EXPECT_TRUE(std::equal(ours.begin() + 488, ours.begin() + 496, page.begin() + 488));
}

TEST(Page, CapacitiesOfTheVariants)
{
    struct Capacities {
        std::size_t nodes, blocks, dataTree, leaf, index;
    };
    const Capacities expected[] = {
        {31, 41, 2043, 681, 1022}, {15, 20, 1021, 340, 510}, {126, 169, 8188, 2729, 4094}};
    for (std::size_t i = 0; i < 3; ++i) {
        const VariantLayout& layout = *kLayouts[i];
        EXPECT_EQ(TreePageCapacity(layout, layout.nodeEntrySize), expected[i].nodes);
        EXPECT_EQ(TreePageCapacity(layout, layout.blockEntrySize), expected[i].blocks);
        EXPECT_EQ(DataTreeCapacity(layout), expected[i].dataTree);
        EXPECT_EQ(SubnodeLeafCapacity(layout), expected[i].leaf);
        EXPECT_EQ(SubnodeIndexCapacity(layout), expected[i].index);
    }
}

TEST(Page, CountersThatDoNotFitAreRefused)
{
    for (const VariantLayout* layout : kLayouts) {
        std::vector<std::byte> page(layout->pageSize);
        EncodeTreePage(*layout, page, PageType::BlockTree, 0, 0, 0x8000, 4);
        for (const int size : {0, 1, 11, 255}) {
            auto changed = page;
            StoreLE<std::uint8_t>(changed, layout->entrySizeOffset, static_cast<std::uint8_t>(size));
            StoreLE<std::uint8_t>(changed, layout->countOffset, 200);
            EXPECT_FALSE(CTreePage::Parse(*layout, CByteView(changed))) << size;
        }
        EXPECT_FALSE(CTreePage::Parse(*layout, CByteView(page).Sub(0, 100).value()));
        EncodePageTrailer(*layout, page, PageType::AllocationMap, 0x4400, 0x4400);
        EXPECT_FALSE(CTreePage::Parse(*layout, CByteView(page)));
        EXPECT_EQ(LoadLE<std::uint16_t>(page, layout->signatureOffset), 0) << "map pages have none";
        StoreLE<std::uint8_t>(page, layout->typeOffset, 0x85);
        EXPECT_FALSE(ParsePageTrailer(*layout, CByteView(page), 0x4400)) << "type and its copy differ";
    }
}

TEST(Block, RealTreeBlocksAreReadAndEncodedAlike)
{
    const auto bytes = FromHex(kRealDataTreeBlock);
    const auto tree = CDataTreeBlock::Parse(kUnicodeLayout, CByteView(bytes));
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->TotalSize(), 93142u);
    std::vector<std::uint64_t> children;
    for (std::size_t i = 0; i < tree->Count(); ++i)
        children.push_back(tree->ChildAt(i));
    EXPECT_EQ(children.front(), 0x17Cu);
    EXPECT_EQ(EncodeDataTreeBlock(kUnicodeLayout, 1, 93142, children), bytes);

    auto subnodes = FromHex(kRealSubnodeBlock);
    const auto block = CSubnodeBlock::Parse(kUnicodeLayout, CByteView(subnodes));
    ASSERT_TRUE(block);
    std::vector<SubnodeLeafEntry> entries;
    for (std::size_t i = 0; i < block->Count(); ++i)
        entries.push_back(block->LeafAt(i));
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[2].nid, 0x8025u);
    EXPECT_EQ(entries[2].bidSub, 0x252u);
    EXPECT_EQ(EncodeSubnodeLeaf(kUnicodeLayout, entries), subnodes);

    for (const VariantLayout* layout : kLayouts) {
        const auto encoded =
            EncodeSubnodeIndex(*layout, std::vector<SubnodeIndexEntry>{{0x671, 6}, {0x8025, 10}});
        const auto index = CSubnodeBlock::Parse(*layout, CByteView(encoded));
        ASSERT_TRUE(index);
        EXPECT_EQ(index->Level(), 1u);
        EXPECT_EQ(index->ChildAt(1).bid, 10u);
        EXPECT_FALSE(CSubnodeBlock::Parse(*layout, *CByteView(encoded).Sub(0, encoded.size() - 1)));
        EXPECT_FALSE(CDataTreeBlock::Parse(*layout, CByteView(encoded)));
    }
    for (const int level : {0, 3, 9}) {
        auto changed = bytes;
        changed[1] = static_cast<std::byte>(level);
        EXPECT_FALSE(CDataTreeBlock::Parse(kUnicodeLayout, CByteView(changed))) << level;
    }
}

}  // namespace
}  // namespace pastille::tests
