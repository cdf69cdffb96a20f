#include <cstddef>
#include <cstdint>

#include "format/PropertyContext.h"
#include "fuzz/BlockFile.h"
#include "platform/Text.h"
#include "store/DataTree.h"
#include "store/FolderProperties.h"
#include "store/HeapBlock.h"

namespace {

using namespace pastille;

void ReadTolerantly(fuzz::CBlockFile& file)
{
    static const platform::CCodePage codePage("windows-1252");
    store::CBlockReader& reader = file.Reader();
    store::ReadFolderProperties(reader, file.Blocks().front(), codePage);
    const store::CHeapBlock heap(file.Bytes(file.Blocks().front()), file.Layout());
    const auto subnodes = store::LoadSubnodes(reader, file.Bid(1));
    for (const bool checkHeader : {false, true}) {
        const auto records = heap.PropertyRecords(checkHeader);
        for (std::size_t i = 0; records && i < records->size(); ++i) {
            const store::PropertyRecord& record = (*records)[i];
            heap.Value(record.value);
            heap.Allocation(record.value);
            if (i < fuzz::CBlockFile::kMostBlocks)
                store::ReadStringValue(reader, heap, record.type, record.value, subnodes, codePage);
        }
    }
}

void ReadStrictly(const fuzz::CBlockFile& file)
{
    fuzz::CBlockSequence blocks(file);
    const auto heap = format::CHeapView::Open(file.Layout(), blocks);
    if (!heap)
        return;
    const auto context = format::ReadPropertyContext(*heap);
    if (!context)
        return;
    for (const format::PropertyContextRecord& record : context->records) {
        format::StorageRuleOf(record.tag.type);
        if (const auto item = heap->Item(record.valueOrHnid))
            format::SplitMultiple(item->view);
    }
}

}  // namespace

// The first block as a property context, the second as its node's subnodes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::CBlockFile file(fuzz::CInput(data, size));
    if (file.Blocks().empty())
        return 0;
    ReadTolerantly(file);
    ReadStrictly(file);
    return 0;
}
