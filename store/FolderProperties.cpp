#include "store/FolderProperties.h"

#include "format/PropertyIds.h"
#include "format/WideText.h"
#include "platform/Text.h"
#include "store/DataTree.h"
#include "store/HeapBlock.h"

namespace pastille::store {
namespace {

/// Text of an allocation in the file's own width.
std::u16string TextOf(format::CByteView allocation, bool wide, const platform::CCodePage& codePage)
{
    return wide ? format::WideText(allocation.Bytes()) : codePage.ToUtf16(allocation.Bytes());
}

}  // namespace

std::optional<FolderProperties> ReadFolderProperties(CBlockReader& reader, const BlockRecord& block,
                                                     const platform::CCodePage& codePage)
{
    CBlockReader::Buffer bytes;
    if (!reader.ReadContents(block, bytes))
        return std::nullopt;
    const CHeapBlock heap(format::CByteView(bytes), reader.Layout());
    if (!reader.AcceptsSignature(heap.Signature()))
        return std::nullopt;
    const auto records = heap.PropertyRecords(false);
    if (!records)
        return std::nullopt;

    const bool wide = reader.Layout().wide;
    FolderProperties properties;
    bool hasDisplayName = false;
    for (const PropertyRecord& record : *records) {
        if (record.id == format::pid::kMessageClass)
            return std::nullopt;
        if (record.id != format::pid::kContainerClass && record.id != format::pid::kDisplayName)
            continue;
        const auto allocation = heap.Allocation(record.value);
        if (!allocation)
            return std::nullopt;
        std::u16string text = TextOf(*allocation, wide, codePage);
        if (record.id == format::pid::kContainerClass) {
            properties.containerClass = std::move(text);
            break;  // records are sorted by id, so the display name has been met
        }
        hasDisplayName = true;
        properties.name = wide && !platform::LooksLikeText(text) ? std::u16string() : std::move(text);
    }
    return hasDisplayName ? std::optional(properties) : std::nullopt;
}

}  // namespace pastille::store
