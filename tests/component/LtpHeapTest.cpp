#include <gtest/gtest.h>

#include "component/pst/ltp/HeapWriter.h"
#include "component/pst/ndb/DataTree.h"
#include "format/Bth.h"
#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::HeapId;

format::CHeapView OpenHeap(CNdbWriter& writer, CDataTreeReader& blocks)
{
    return *format::CHeapView::Open(writer.Layout(), blocks);
}

/// Fill level of a block as the nearest header before it tells.
unsigned FillLevelOf(CDataTreeReader& blocks, std::size_t index)
{
    const std::size_t owner = index < 8 ? 0 : 8 + (index - 8) / 128 * 128;
    const std::size_t first = owner == 0 ? 8 : 2;
    const auto pair = static_cast<unsigned>((*blocks.BlockAt(owner))[first + (index - owner) / 2]);
    return index % 2 == 0 ? pair & 15 : pair >> 4;
}

// Enough items for 140 blocks, so that both kinds of bitmap header and their borders occur.
TEST(LtpHeap, ManyBlocksReadBack)
{
    CMemoryFile file;
    CNdbWriter writer(file);
    CHeapWriter heap(format::clientsig::kPropertyContext);
    std::vector<HeapId> ids;
    constexpr unsigned kItems = 440;
    for (unsigned i = 0; i < kItems; ++i)
        ids.push_back(heap.Add(writer, Pattern(2001 + i % 700, i)));
    heap.SetUserRoot(ids[5]);
    CDataTreeReader blocks(writer, heap.Finish(writer));
    ASSERT_GT(blocks.BlockCount(), 137u);
    EXPECT_EQ(blocks.Size(), heap.Size());
    EXPECT_EQ(blocks.BlockAt(0)->size(), 8176u);

    const format::CHeapView view = OpenHeap(writer, blocks);
    EXPECT_EQ(view.UserRoot(), ids[5].value);
    for (unsigned i = 0; i < kItems; ++i) {
        const auto item = view.Item(ids[i].value);
        ASSERT_TRUE(item) << i;
        EXPECT_TRUE(std::ranges::equal(item->view.Bytes(), Pattern(2001 + i % 700, i))) << i;
    }
    for (std::size_t i = 0; i < blocks.BlockCount(); ++i) {
        const format::SharedBytes bytes = blocks.BlockAt(i);
        const auto block = format::CHeapBlockView::Parse(format::CByteView(*bytes), i);
        ASSERT_TRUE(block) << i;
        EXPECT_FALSE(block->FindFault(i)) << i;
        const std::size_t end = block->PageMapOffset() + 4 + 2 * (block->Count() + 1);
        EXPECT_EQ(FillLevelOf(blocks, i), format::HeapFillLevel(8176 - end)) << i;
        if (i + 1 == blocks.BlockCount()) {
            EXPECT_EQ(bytes->size(), end) << "the last block ends with its page map";
        }
    }
    EXPECT_EQ(heap.Add(writer, {}).value, 0u);
    EXPECT_THROW(heap.Add(writer, Pattern(3581)), std::length_error);
}

TEST(LtpHeap, ManySmallItemsKeepTheIndexLimit)
{
    CMemoryFile file;
    CNdbWriter writer(file);
    CHeapWriter heap(format::clientsig::kPropertyContext);
    std::vector<HeapId> ids;
    for (unsigned i = 0; i < 5000; ++i)
        ids.push_back(heap.Add(writer, Pattern(1, i)));
    CDataTreeReader blocks(writer, heap.Finish(writer));
    const format::CHeapView view = OpenHeap(writer, blocks);
    for (unsigned i = 0; i < 5000; ++i)
        ASSERT_TRUE(view.Item(ids[i].value) && view.Item(ids[i].value)->view.Bytes()[0] == Pattern(1, i)[0])
            << i;
    EXPECT_EQ(ids[2046], HeapId::Make(0, 2047));
    EXPECT_EQ(ids[2047], HeapId::Make(1, 1));
    for (const std::uint32_t wrong : {0u, 1u, 0x3Fu, HeapId::Make(2, 2000).value, 0xFFFF0020u})
        EXPECT_FALSE(view.Item(wrong)) << wrong;
}

TEST(LtpBth, EveryDepthFindsEveryKey)
{
    // 447 records of 8 bytes fill one array; 447 index records of 8 bytes one index.
    for (const std::uint32_t count : {0u, 1u, 447u, 448u, 199809u, 199810u}) {
        CMemoryFile file;
        CNdbWriter writer(file);
        CHeapWriter heap(format::clientsig::kTableContext);
        const HeapId header = heap.Add(writer, std::vector<std::byte>(8));
        heap.SetUserRoot(header);
        std::vector<std::byte> records(std::size_t{count} * 8);
        for (std::uint32_t i = 0; i < count; ++i) {
            format::StoreLE<std::uint32_t>(records, 8 * std::size_t{i}, 2 * i + 2);
            format::StoreLE<std::uint32_t>(records, 8 * std::size_t{i} + 4, ~i);
        }
        WriteBth(writer, heap, header, 4, 4, records);
        CDataTreeReader blocks(writer, heap.Finish(writer));
        const format::CHeapView view = OpenHeap(writer, blocks);
        const auto tree = format::CBthView::Open(view, view.UserRoot());
        ASSERT_TRUE(tree);
        EXPECT_EQ(tree->Levels(), count <= 447 ? 0u : count <= 199809 ? 1u : 2u);
        for (std::uint32_t i = 0; i < count; i += 1 + count / 300) {
            const auto found = tree->Find(2 * i + 2);
            ASSERT_TRUE(found && *found) << i;
            EXPECT_EQ((*found)->data.ReadOrZero<std::uint32_t>(0), ~i);
            EXPECT_FALSE(*tree->Find(2 * i + 1)) << i;
        }
        std::uint32_t seen = 0;
        EXPECT_FALSE(
            tree->ForEach([&seen](const format::BthRecord& record) { return record.key == 2 * ++seen; }));
        EXPECT_EQ(seen, count);
    }
}

}  // namespace
}  // namespace pastille::tests
