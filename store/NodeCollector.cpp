#include "store/NodeCollector.h"

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "store/ScanWindow.h"

namespace pastille::store {
namespace {

constexpr std::size_t kIntermediateEntrySize = 24;
constexpr std::uint32_t kValueLimit = 0xFFFFFF;

/// A leaf page is taken even with a wrong signature; a page with entries of 24 bytes only with a right one.
bool IsAcceptedPage(format::CByteView page, const format::VariantLayout& layout, std::uint64_t fileOffset)
{
    if (page.ReadOrZero<std::uint16_t>(layout.typeOffset) != format::pageword::kNbt)
        return false;
    const std::size_t entrySize = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset);
    if (entrySize == layout.nodeEntrySize)
        return true;
    const auto bid = page.ReadOrZero<std::uint32_t>(layout.pageBidOffset);
    return entrySize == kIntermediateEntrySize && page.ReadOrZero<std::uint16_t>(layout.signatureOffset) ==
                                                      format::ComputeSignature(fileOffset, bid);
}

/// Entries are read until a zero nid or the end of the entry area; the page's own count is not believed.
void AddEntries(format::CByteView page, const format::VariantLayout& layout, std::uint64_t fileOffset,
                CNodeList& nodes)
{
    const auto pageBid = page.ReadOrZero<std::uint32_t>(layout.pageBidOffset);
    const std::size_t width = layout.keyWidth;
    for (std::size_t at = 0; at < layout.entryAreaEnd; at += layout.nodeEntrySize) {
        const NodeRecord record{page.ReadOrZero<std::uint32_t>(at),
                                page.ReadOrZero<std::uint32_t>(at + width),
                                page.ReadOrZero<std::uint32_t>(at + 2 * width),
                                page.ReadOrZero<std::uint32_t>(at + 3 * width),
                                fileOffset,
                                pageBid};
        if (record.nid == 0)
            return;
        if (record.bidData < kValueLimit && record.bidSub < kValueLimit && record.nidParent < kValueLimit)
            nodes.Append(record);
    }
}

}  // namespace

bool ScanNodePages(CSourceFile& source, const format::VariantLayout& layout, CNodeList& nodes,
                   const std::function<bool(std::uint64_t)>& proceed)
{
    const std::size_t chunkBytes = layout.variant == format::Variant::Unicode4k ? 65536 : 4096;
    CScanWindow window(source);
    for (std::uint64_t offset = ScanStart(layout.variant);;) {
        const format::CByteView chunk = window.At(offset, chunkBytes);
        const std::size_t transferred = window.Transferred();
        if (transferred == 0)
            return true;
        for (std::size_t at = 0; at < transferred; at += layout.pageSize) {
            const format::CByteView page = *chunk.Sub(at, layout.pageSize);
            if (IsAcceptedPage(page, layout, offset + at))
                AddEntries(page, layout, offset + at, nodes);
        }
        offset += chunkBytes;
        if (!proceed(offset))
            return false;
    }
}

}  // namespace pastille::store
