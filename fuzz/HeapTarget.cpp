#include <cstddef>
#include <cstdint>

#include "format/Bth.h"
#include "format/TableContext.h"
#include "fuzz/BlockFile.h"

namespace {

using namespace pastille;

void ReadTree(const format::CHeapView& heap, std::uint32_t hid)
{
    const auto tree = format::CBthView::Open(heap, hid);
    if (!tree)
        return;
    std::size_t bytes = 0;
    tree->ForEach([&](const format::BthRecord& record) {
        bytes += record.keyBytes.Size() + record.data.Size();
        return true;
    });
    for (const std::uint64_t key : {0ull, 0x3001ull, ~0ull})
        tree->Find(key);
}

void ReadTableInfo(format::CByteView item)
{
    const auto info = format::DecodeTableInfo(item);
    if (!info)
        return;
    format::FindTableInfoFault(*info);
    // Any bytes serve as a row: these are there, and a cell may lie outside of them.
    for (const format::TableColumn& column : info->columns)
        format::CellOf(*info, item, column);
}

void ReadItems(const format::CHeapView& heap, std::size_t block, std::size_t items)
{
    for (std::size_t index = 1; index <= items; ++index) {
        const auto hid = format::HeapId::Make(block, index).value;
        ReadTree(heap, hid);
        if (const auto item = heap.Item(hid))
            ReadTableInfo(item->view);
    }
}

}  // namespace

// A heap of several blocks with whatever its items are: trees of records, table headers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::CBlockFile file(fuzz::CInput(data, size));
    fuzz::CBlockSequence blocks(file);
    const auto heap = format::CHeapView::Open(file.Layout(), blocks);
    if (heap)
        ReadTree(*heap, heap->UserRoot());
    constexpr std::size_t kMostItems = 8;
    for (std::size_t i = 0; i < file.Blocks().size(); ++i) {
        const auto block = format::CHeapBlockView::Parse(file.Bytes(file.Blocks()[i]), i);
        if (!block)
            continue;
        block->FindFault(i);
        if (heap)
            ReadItems(*heap, i, std::min(block->Count(), kMostItems));
    }
    return 0;
}
