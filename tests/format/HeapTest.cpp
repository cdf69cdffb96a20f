#include "format/Heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "format/Bth.h"
#include "format/PropertyContext.h"
#include "format/TableContext.h"
#include "tests/format/Hex.h"

namespace pastille::tests {
namespace {

using namespace format;

/// Blocks of a heap in memory.
class CBlocks final : public IBlockSequence {
public:
    explicit CBlocks(std::vector<std::byte> first) { Add(std::move(first)); }
    void Add(std::vector<std::byte> block)
    {
        m_blocks.push_back(std::make_shared<const std::vector<std::byte>>(std::move(block)));
    }
    std::size_t BlockCount() override { return m_blocks.size(); }
    SharedBytes BlockAt(std::size_t index) override { return m_blocks[index]; }

private:
    std::vector<SharedBytes> m_blocks;
};

// The attachment table template of a pristine store: BTHHEADER, then TCINFO with six columns.
constexpr const char* kTable =
    "5a00ec7c4000000000000000b5040400000000007c0618001800180019002000000000000000000000000300200e0c00"
    "04031f00043714000405030005371000040403000b37080004020300f267000004000300f36704000401020000000c00"
    "14005a00";

// The root folder of a pristine store: BTHHEADER, then four records.
constexpr const char* kContext =
    "3400ecbc2000000000000000b50206004000000001301f0000000000023603000000000003360300000000000a360b00"
    "01000000020000000c0014003400";

std::vector<std::byte> With(const char* hex, std::size_t offset, unsigned value)
{
    auto bytes = FromHex(hex);
    bytes[offset] = static_cast<std::byte>(value);
    return bytes;
}

TEST(Heap, FillLevelsAtTheirBorders)
{
    const std::pair<std::size_t, int> cases[] = {
        {8176, 0}, {3584, 0}, {3583, 1}, {2560, 1}, {2559, 2}, {2047, 3}, {1024, 6}, {1023, 7}, {767, 8},
        {256, 9},  {255, 10}, {127, 11}, {63, 12},  {16, 13},  {15, 14},  {8, 14},   {7, 15},   {0, 15}};
    for (const auto& [freeBytes, level] : cases)
        EXPECT_EQ(HeapFillLevel(freeBytes), level) << freeBytes;
}

TEST(Heap, RealContextIsRead)
{
    CBlocks blocks(FromHex(kContext));
    const auto heap = CHeapView::Open(kUnicodeLayout, blocks);
    ASSERT_TRUE(heap);
    const auto context = ReadPropertyContext(*heap);
    ASSERT_TRUE(context);
    EXPECT_FALSE(context->fault);
    ASSERT_EQ(context->records.size(), 4u);
    EXPECT_EQ(context->records[3].tag, (PropertyTag{0x360A, PropertyType::Boolean}));
    EXPECT_EQ(context->records[3].valueOrHnid, 1u);
    const auto tree = CBthView::Open(*heap, heap->UserRoot());
    ASSERT_TRUE(tree);
    EXPECT_TRUE(*tree->Find(0x3602));
    EXPECT_FALSE(*tree->Find(0x3604));
}

TEST(Heap, BrokenPageMapsAreNamed)
{
    const auto fault = [](std::vector<std::byte> bytes) -> std::string {
        const auto block = CHeapBlockView::Parse(CByteView(bytes), 0);
        if (!block)
            return block.GetFault().field;
        const auto found = block->FindFault(0);
        return found ? found->field : "";
    };
    EXPECT_EQ(fault(FromHex(kContext)), "");
    EXPECT_EQ(fault(With(kContext, 0, 0x36)), "rgibAlloc") << "ibHnpm 2 bytes later";
    EXPECT_EQ(fault(With(kContext, 0, 8)), "ibHnpm") << "inside the header";
    EXPECT_EQ(fault(With(kContext, 2, 0)), "bSig");
    EXPECT_EQ(fault(With(kContext, 0x34, 0xFF)), "cAlloc");
    EXPECT_EQ(fault(With(kContext, 0x36, 1)), "cFree");
    EXPECT_EQ(fault(With(kContext, 0x38, 10)), "rgibAlloc") << "the first item not behind the header";
    EXPECT_EQ(fault(With(kContext, 0x3A, 0x36)), "rgibAlloc") << "past the page map";
    EXPECT_EQ(fault(With(kContext, 0x3C, 0x10)), "rgibAlloc") << "falling";
    EXPECT_EQ(fault(With(kContext, 0x3C, 0x30)), "rgibAlloc") << "a gap before the page map";
}

TEST(Bth, CyclesAndSharedArraysEnd)
{
    // An index of three levels whose only array names itself 148 times.
    std::vector<std::byte> bytes(12 + 8 + 6 * 148, std::byte{0});
    for (std::size_t i = 0; i < 148; ++i) {
        StoreLE<std::uint16_t>(bytes, 20 + 6 * i, static_cast<std::uint16_t>(i));
        StoreLE<std::uint32_t>(bytes, 22 + 6 * i, 0x40);
    }
    const std::size_t pageMap = bytes.size();
    bytes.resize(pageMap + 10);
    StoreLE<std::uint16_t>(bytes, 0, static_cast<std::uint16_t>(pageMap));
    StoreLE<std::uint16_t>(bytes, 2, 0xBCEC);
    StoreLE<std::uint32_t>(bytes, 4, 0x20);
    StoreLE<std::uint32_t>(bytes, 12, 0x080602B5);
    StoreLE<std::uint32_t>(bytes, 16, 0x40);
    StoreLE<std::uint16_t>(bytes, pageMap, 2);
    StoreLE<std::uint16_t>(bytes, pageMap + 4, 12);
    StoreLE<std::uint16_t>(bytes, pageMap + 6, 20);
    StoreLE<std::uint16_t>(bytes, pageMap + 8, static_cast<std::uint16_t>(pageMap));
    CBlocks blocks(std::move(bytes));
    const auto heap = CHeapView::Open(kUnicodeLayout, blocks);
    ASSERT_TRUE(heap);
    const auto context = ReadPropertyContext(*heap);
    ASSERT_TRUE(context);
    EXPECT_TRUE(context->fault);
    EXPECT_LT(context->records.size(), 65536u / 8);
    const auto tree = CBthView::Open(*heap, 0x20);
    EXPECT_TRUE(tree->Find(5)) << "a search falls by a level at each step";
}

TEST(TableContext, RealTableIsReadAndEncodedAlike)
{
    CBlocks blocks(FromHex(kTable));
    const auto heap = CHeapView::Open(kUnicodeLayout, blocks);
    ASSERT_TRUE(heap);
    const auto item = heap->Item(heap->UserRoot());
    ASSERT_TRUE(item);
    const auto info = DecodeTableInfo(item->view);
    ASSERT_TRUE(info);
    EXPECT_FALSE(FindTableInfoFault(*info));
    EXPECT_EQ(info->rowSize, 25);
    ASSERT_EQ(info->columns.size(), 6u);
    EXPECT_EQ(info->columns[1].tag.Value(), 0x3704001Fu);
    EXPECT_EQ(info->columns[1].offset, 20);
    const auto encoded = EncodeTableInfo(*info);
    EXPECT_TRUE(std::ranges::equal(encoded, item->view.Bytes()));

    std::vector<std::byte> row(25);
    EXPECT_FALSE(CellOf(*info, CByteView(row), info->columns[1]));
    SetCellExists(*info, row, info->columns[1], true);
    EXPECT_EQ(row[24], std::byte{0x04}) << "bit 5, counted from the most significant";
    EXPECT_EQ(CellOf(*info, CByteView(row), info->columns[1])->Size(), 4u);
    EXPECT_FALSE(CellOf(*info, *CByteView(row).Sub(0, 24), info->columns[1]));
}

TEST(TableContext, ColumnsThatBreakTheRulesAreFound)
{
    const TableInfo sound{16,
                          16,
                          17,
                          18,
                          0x20,
                          0,
                          {{PropertyTag::FromValue(0x3001001F), 8, 4, 2},
                           {PropertyTag::FromValue(0x360A000B), 16, 1, 4},
                           {PropertyTag::FromValue(0x36100003), 12, 4, 3},
                           {PropertyTag::FromValue(0x67F20003), 0, 4, 0},
                           {PropertyTag::FromValue(0x67F30003), 4, 4, 1}}};
    EXPECT_FALSE(FindTableInfoFault(sound));
    const std::vector<std::pair<const char*, void (*)(TableInfo&)>> changes = {
        {"unsorted", [](TableInfo& info) { std::swap(info.columns[0], info.columns[1]); }},
        {"overlap", [](TableInfo& info) { info.columns[0].offset = 12; }},
        {"outside its part", [](TableInfo& info) { info.columns[0].offset = 14; }},
        {"in the existence block", [](TableInfo& info) { info.columns[1].offset = 17; }},
        {"size", [](TableInfo& info) { info.columns[0].size = 8; }},
        {"bit twice", [](TableInfo& info) { info.columns[2].bit = 4; }},
        {"bit too high", [](TableInfo& info) { info.columns[1].bit = 5; }},
        {"row id elsewhere", [](TableInfo& info) { info.columns[3].offset = 8; }},
        {"no row version", [](TableInfo& info) { info.columns.pop_back(); }},
        {"ends fall", [](TableInfo& info) { info.end2 = 12; }},
        {"existence block too long", [](TableInfo& info) { info.rowSize = 19; }}};
    for (const auto& [name, change] : changes) {
        TableInfo info = sound;
        change(info);
        EXPECT_TRUE(FindTableInfoFault(info)) << name;
    }
}

TEST(PropertyContext, MultipleValuesStayInsideTheirBytes)
{
    const auto example = FromHex(
        "020000000c00000010000000"
        "41004200"
        "430044004500");
    const auto elements = SplitMultiple(CByteView(example));
    ASSERT_TRUE(elements);
    ASSERT_EQ(elements->size(), 2u);
    EXPECT_EQ((*elements)[0].Size(), 4u);
    EXPECT_EQ((*elements)[1].Size(), 6u);
    EXPECT_EQ(JoinMultiple({FromHex("41004200"), FromHex("430044004500")}), example);
    for (const char* wrong : {"0100", "ffffffff", "ffffff3f00000000", "020000000c000000", "0100000004000000",
                              "020000001000000000c0000041004200"})
        EXPECT_FALSE(SplitMultiple(CByteView(FromHex(wrong)))) << wrong;
    EXPECT_TRUE(SplitMultiple(CByteView())->empty());
}

}  // namespace
}  // namespace pastille::tests
