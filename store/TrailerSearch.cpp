#include "store/TrailerSearch.h"

#include <algorithm>
#include <bit>

#include "format/Block.h"
#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::store {
namespace {

constexpr std::size_t kSearchStep = 16;
constexpr std::size_t kSizeLimit = 65511;
constexpr std::uint32_t kAttachmentTable = 0x671;
/// In a sound file each byte is summed once. Where trailers lie upon trailers the rest goes unproven.
constexpr std::uint64_t kSumsPerByte = 8;

/// Where blocks can begin: behind the header and the first allocation map pages. [MS-PST] 2.2.2.7.2
constexpr std::uint64_t FirstBlockOffset(format::Variant variant)
{
    return variant == format::Variant::Unicode4k ? 0x23000 : 0x4600;
}

constexpr std::uint64_t RoundUp(std::uint64_t value)
{
    return (value + kSearchStep - 1) / kSearchStep * kSearchStep;
}

}  // namespace

bool IsMessageSubnodes(const format::VariantLayout& layout, std::uint32_t cb, format::CByteView head)
{
    const std::uint32_t entries = head.ReadOrZero<std::uint16_t>(2);
    const auto size = static_cast<std::uint16_t>((3 * entries + 1) * layout.keyWidth);
    return head.ReadOrZero<std::uint32_t>(layout.keyWidth) == kAttachmentTable && cb == size;
}

CTrailerSearch::CTrailerSearch(const ScanWindow& window, const format::VariantLayout& layout,
                               const BlockScanOptions& options, std::uint64_t fileSize)
    : m_window(window),
      m_layout(layout),
      m_options(options),
      m_fileSize(fileSize),
      m_firstBlock(FirstBlockOffset(layout.variant)),
      m_trailerOffset(RoundUp(layout.blockTrailerSize) - layout.blockTrailerSize),
      m_largest(std::min<std::size_t>(layout.largestBlock, kSizeLimit)),
      m_noted(window.viewStart),
      m_crcAllowance(kSumsPerByte * (ScanWindow::kLength + ScanWindow::kHistory))
{
}

void CTrailerSearch::SearchPage(std::uint64_t offset, std::vector<TrailerBlock>& found)
{
    const auto look = [this](std::uint64_t slot) {
        const format::CByteView bytes = m_window.At(slot, kSearchStep);
        return std::pair(bytes.ReadOrZero<std::uint64_t>(0), bytes.ReadOrZero<std::uint64_t>(8));
    };
    for (; m_noted < offset; m_noted += kSearchStep) {
        const auto [low, high] = look(m_noted);
        NoteData(m_noted, low, high);
    }
    for (; m_noted < offset + m_layout.pageSize; m_noted += kSearchStep) {
        const auto [low, high] = look(m_noted);
        if ((low | high) == 0)
            continue;
        // In most slots this first field of a trailer says no already.
        const std::uint64_t part = m_trailerOffset < 8 ? low >> (8 * m_trailerOffset) : high;
        if (const auto cb = static_cast<std::uint16_t>(part);
            cb != 0 && cb <= m_largest && IsPossibleEnd(m_noted))
            SearchSlot(m_noted, found);
        NoteData(m_noted, low, high);
    }
}

void CTrailerSearch::NoteData(std::uint64_t slot, std::uint64_t low, std::uint64_t high)
{
    if (high != 0)
        m_dataEnd = slot + 16 - static_cast<unsigned>(std::countl_zero(high)) / 8;
    else if (low != 0)
        m_dataEnd = slot + 8 - static_cast<unsigned>(std::countl_zero(low)) / 8;
}

void CTrailerSearch::SearchSlot(std::uint64_t slot, std::vector<TrailerBlock>& found)
{
    const format::CByteView bytes = m_window.At(slot + m_trailerOffset, m_layout.blockTrailerSize);
    const std::uint32_t cb = bytes.ReadOrZero<std::uint16_t>(0);
    const auto bid = bytes.ReadOrZero<std::uint32_t>(m_layout.blockBidOffset);
    if (bid == 0)
        return;
    const Trailer trailer{slot, cb, bid, bytes.ReadOrZero<std::uint32_t>(m_layout.blockCrcOffset),
                          bytes.ReadOrZero<std::uint16_t>(2)};
    const std::uint64_t exact = ExactStart(trailer);
    if (IsPossibleStart(exact) && IsSigned(trailer, exact))
        Add(trailer, exact, TrailerBlock::kSigned | (IsSound(trailer, exact) ? TrailerBlock::kSound : 0),
            found);
    else if (m_options.smartScan)
        TryUnsigned(trailer, exact, found);
    TryDistances(trailer, exact, found);
}

/// A block's data, its padding and its trailer together fill whole units.
std::uint64_t CTrailerSearch::ExactStart(const Trailer& trailer) const
{
    const std::uint64_t end = trailer.slot + m_trailerOffset + m_layout.blockTrailerSize;
    const std::uint64_t extent = format::BlockExtent(m_layout, trailer.cb);
    return end < extent ? 0 : end - extent;
}

/// What stands between data and trailer may not be as it was written: the data may also have ended at the
/// last byte before the trailer that is not zero.
void CTrailerSearch::TryDistances(const Trailer& trailer, std::uint64_t exact,
                                  std::vector<TrailerBlock>& found)
{
    if (m_dataEnd == 0)
        return;
    const std::uint64_t lastByte = m_dataEnd - 1;
    const std::uint64_t read = trailer.slot > lastByte ? trailer.slot - lastByte : 1;
    const std::uint64_t candidates = (read + 1) / kSearchStep + 2;
    std::uint64_t start = lastByte < trailer.cb ? 0 : RoundUp(lastByte - trailer.cb);
    for (std::uint64_t i = 0; i < candidates && start < m_fileSize; ++i, start += kSearchStep) {
        if (start != exact && IsPossibleStart(start) && IsSigned(trailer, start))
            Add(trailer, start, TrailerBlock::kSigned | (IsSound(trailer, start) ? TrailerBlock::kSound : 0),
                found);
    }
}

/// Blocks that have moved since they were written, or whose signature is damaged.
void CTrailerSearch::TryUnsigned(const Trailer& trailer, std::uint64_t start,
                                 std::vector<TrailerBlock>& found)
{
    if (!IsPossibleStart(start) || !IsPaddingZero(trailer, start))
        return;
    const bool maySign = (trailer.signature & 0xFF) != 0 && (trailer.signature >> 8) != 0;
    if (const bool isSound = IsSound(trailer, start); isSound || maySign)
        Add(trailer, start, isSound ? TrailerBlock::kSound : 0, found);
}

/// In 4 KB files nearly any slot of packed data could be a trailer, so where they can end is asked as well:
/// blocks lie at multiples of 512, and those that have moved did not move by less than 64.
bool CTrailerSearch::IsPossibleEnd(std::uint64_t slot) const
{
    constexpr std::uint64_t kUnit = 64;
    return m_layout.variant != format::Variant::Unicode4k ||
           (slot + m_trailerOffset + m_layout.blockTrailerSize) % kUnit == 0;
}

bool CTrailerSearch::IsPossibleStart(std::uint64_t start) const
{
    return start >= m_firstBlock && start < m_fileSize;
}

bool CTrailerSearch::IsSigned(const Trailer& trailer, std::uint64_t start) const
{
    return trailer.signature == format::ComputeSignature(start, trailer.bid);
}

bool CTrailerSearch::IsSound(const Trailer& trailer, std::uint64_t start)
{
    if (trailer.cb > m_crcAllowance || start < m_window.viewStart ||
        start + trailer.cb > trailer.slot + m_trailerOffset)
        return false;
    m_crcAllowance -= trailer.cb;
    return format::ComputeCrc(m_window.At(start, trailer.cb).Bytes()) == trailer.crc;
}

bool CTrailerSearch::IsPaddingZero(const Trailer& trailer, std::uint64_t start) const
{
    if (start < m_window.viewStart)
        return false;
    const std::uint64_t dataEnd = start + trailer.cb;
    const std::uint64_t padding = trailer.slot + m_trailerOffset - dataEnd;
    return std::ranges::all_of(m_window.At(dataEnd, static_cast<std::size_t>(padding)).Bytes(),
                               [](std::byte byte) { return byte == std::byte{0}; });
}

void CTrailerSearch::Add(const Trailer& trailer, std::uint64_t start, std::uint8_t marks,
                         std::vector<TrailerBlock>& found) const
{
    std::uint8_t methods = 0;
    if (m_options.smartScan && start >= m_window.viewStart) {
        const format::CByteView head = m_window.At(start, std::min<std::size_t>(trailer.cb, kProbeBytes));
        if (IsMessageSubnodes(m_layout, trailer.cb, head))
            marks |= TrailerBlock::kSubnodes;
        methods = HeapMethods(m_options.kind, m_layout, trailer.bid, head.Bytes());
    }
    found.emplace_back(BlockRecord{trailer.bid, trailer.cb, start}, marks, methods);
}

}  // namespace pastille::store
