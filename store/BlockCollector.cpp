#include "store/BlockCollector.h"

#include <bit>
#include <utility>
#include <vector>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "store/NodeCollector.h"
#include "store/ScanWindow.h"
#include "store/StrayBlocks.h"

namespace pastille::store {
namespace {

constexpr std::size_t kStretchBytes = 4096;
constexpr std::size_t kSlotBytes = 16;
constexpr std::uint32_t kLargestBlock = 65512;

/// Where blocks can begin: behind the header and the first allocation map pages. [MS-PST] 2.2.2.7.2
constexpr std::uint64_t FirstBlockOffset(format::Variant variant)
{
    return variant == format::Variant::Unicode4k ? 0x23000 : 0x4600;
}

bool IsLeafCandidate(format::CByteView page, const format::VariantLayout& layout, std::uint64_t fileOffset)
{
    if (page.ReadOrZero<std::uint16_t>(layout.typeOffset) != format::pageword::kBbt)
        return false;
    const std::size_t entrySize = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset);
    const auto level = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset + 1);
    const auto count = page.ReadOrZero<std::uint8_t>(layout.countOffset);
    const auto maximum = page.ReadOrZero<std::uint8_t>(layout.maximumCountOffset);
    const auto bid = page.ReadOrZero<std::uint32_t>(layout.pageBidOffset);
    return (entrySize == layout.nodeEntrySize || entrySize == layout.blockEntrySize) && level == 0 &&
           maximum != 0 && count <= maximum &&
           page.ReadOrZero<std::uint16_t>(layout.signatureOffset) ==
               format::ComputeSignature(fileOffset, bid);
}

/// Reads entries up to the first that cannot be one.
void AddEntries(format::CByteView page, const format::VariantLayout& layout, std::uint64_t fileSize,
                CBlockTable& blocks)
{
    const std::size_t width = layout.keyWidth;
    const std::size_t count = page.ReadOrZero<std::uint8_t>(layout.countOffset);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = i * layout.blockEntrySize;
        const std::uint64_t bid = page.ReadKey(at, width).value_or(0);
        const std::uint64_t ib = page.ReadKey(at + width, width).value_or(0);
        const std::uint32_t cb = page.ReadOrZero<std::uint16_t>(at + 2 * width);
        if (bid == 0 || ib == 0 || cb == 0 || cb > kLargestBlock || ib >= fileSize || ib % kSlotBytes != 0)
            return;
        blocks.Append({static_cast<std::uint32_t>(bid), cb, ib});
    }
}

/// Finds blocks by trailers that no table names. Slots must be shown front to back, all of them, because
/// where a block's data ends is told by the last byte before its trailer that is not zero.
class CStrayTrailerSearch {
public:
    /// Called with a block found and the dwCRC of its trailer.
    using Found = std::function<void(const BlockRecord&, std::uint32_t)>;

    CStrayTrailerSearch(CSourceFile& source, const format::VariantLayout& layout, Found found)
        : m_layout(layout),
          m_found(std::move(found)),
          m_fileSize(source.Size()),
          m_firstBlock(FirstBlockOffset(layout.variant)),
          m_trailerOffset(kSlotBytes * ((layout.blockTrailerSize + kSlotBytes - 1) / kSlotBytes) -
                          layout.blockTrailerSize)
    {
        FindLastDataByte(source, ScanStart(layout.variant));
    }

    /// Looks at the slots of a page. `view` begins at the page; what lies behind it serves the last slot.
    void SearchPage(format::CByteView view, std::uint64_t fileOffset, std::size_t pageBytes)
    {
        for (std::size_t at = 0; at < pageBytes; at += kSlotBytes) {
            const auto low = view.ReadOrZero<std::uint64_t>(at);
            const auto high = view.ReadOrZero<std::uint64_t>(at + 8);
            if ((low | high) == 0)
                continue;
            SearchSlot(view, at, fileOffset);
            NoteData(low, high, fileOffset + at);
        }
    }

    /// Takes note of a page that is not searched.
    void SkipPage(format::CByteView view, std::uint64_t fileOffset, std::size_t pageBytes)
    {
        for (std::size_t at = 0; at < pageBytes; at += kSlotBytes)
            NoteData(view.ReadOrZero<std::uint64_t>(at), view.ReadOrZero<std::uint64_t>(at + 8),
                     fileOffset + at);
    }

private:
    void NoteData(std::uint64_t low, std::uint64_t high, std::uint64_t slotOffset)
    {
        if (high != 0)
            m_dataEnd = slotOffset + 16 - static_cast<unsigned>(std::countl_zero(high)) / 8;
        else if (low != 0)
            m_dataEnd = slotOffset + 8 - static_cast<unsigned>(std::countl_zero(low)) / 8;
    }

    void FindLastDataByte(CSourceFile& source, std::uint64_t before)
    {
        std::vector<std::byte> bytes(static_cast<std::size_t>(before));
        source.Read(0, bytes);
        SkipPage(format::CByteView(bytes), 0, bytes.size());
    }

    void SearchSlot(format::CByteView view, std::size_t at, std::uint64_t fileOffset)
    {
        const std::size_t trailer = at + m_trailerOffset;
        const std::uint32_t cb = view.ReadOrZero<std::uint16_t>(trailer);
        if (cb == 0 || cb >= kLargestBlock)
            return;
        const auto bid = view.ReadOrZero<std::uint32_t>(trailer + m_layout.blockBidOffset);
        if (bid == 0)
            return;
        const auto signature = view.ReadOrZero<std::uint16_t>(trailer + 2);
        const auto crc = view.ReadOrZero<std::uint32_t>(trailer + m_layout.blockCrcOffset);
        if (m_dataEnd != 0)
            TryCandidates(fileOffset + at, m_dataEnd - 1, cb, signature, bid, crc);
    }

    void TryCandidates(std::uint64_t slotOffset, std::uint64_t lastByte, std::uint32_t cb,
                       std::uint16_t signature, std::uint32_t bid, std::uint32_t crc)
    {
        const std::uint64_t read = slotOffset > lastByte ? slotOffset - lastByte : 1;
        const std::uint64_t candidates = (read + 1) / kSlotBytes + 2;
        std::uint64_t candidate =
            lastByte < cb ? 0 : (lastByte - cb + kSlotBytes - 1) / kSlotBytes * kSlotBytes;
        for (std::uint64_t i = 0; i < candidates && candidate < m_fileSize; ++i, candidate += kSlotBytes) {
            if (candidate >= m_firstBlock && signature == format::ComputeSignature(candidate, bid))
                m_found({bid, cb, candidate}, crc);
        }
    }

    const format::VariantLayout& m_layout;
    Found m_found;
    std::uint64_t m_fileSize;
    std::uint64_t m_firstBlock;
    std::size_t m_trailerOffset;  ///< of a trailer in the slot that it begins in: it ends on a slot border
    std::uint64_t m_dataEnd = 0;  ///< one past the last byte so far that is not zero
};

}  // namespace

bool ScanBlockPages(CSourceFile& source, const format::VariantLayout& layout, CBlockTable& blocks,
                    const std::function<bool(std::uint64_t)>& proceed)
{
    CScanWindow window(source);
    CStrayBlocks strays;
    CStrayTrailerSearch search(source, layout, [&](const BlockRecord& block, std::uint32_t crc) {
        if (layout.wide)
            strays.Add(block, crc);
        else
            blocks.Append(block);
    });
    std::uint64_t offset = ScanStart(layout.variant);
    for (;;) {
        const format::CByteView stretch = window.At(offset, kStretchBytes);
        if (window.Transferred() == 0)
            break;
        for (std::size_t at = 0; at < kStretchBytes; at += layout.pageSize) {
            const format::CByteView page = *stretch.Sub(at, layout.pageSize);
            if (IsLeafCandidate(page, layout, offset + at)) {
                AddEntries(page, layout, source.Size(), blocks);
                search.SkipPage(page, offset + at, layout.pageSize);
            } else {
                search.SearchPage(*stretch.Sub(at, kStretchBytes - at), offset + at, layout.pageSize);
            }
        }
        offset += kStretchBytes;
        if (!proceed(offset))
            return false;
    }
    strays.Settle(source, blocks, [&] { return proceed(offset); });
    return true;
}

}  // namespace pastille::store
