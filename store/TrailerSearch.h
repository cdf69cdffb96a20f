#pragma once

#include <cstdint>
#include <vector>

#include "format/Layout.h"
#include "store/BlockTable.h"
#include "store/HeapProbe.h"
#include "store/WindowScan.h"

namespace pastille::store {

/// A block that a trailer tells of. 12 bytes: a file has one for each of its blocks.
class TrailerBlock {
public:
    enum Mark : std::uint8_t {
        kSigned = 1,    ///< the trailer's signature is right for this place
        kSound = 2,     ///< the block's bytes have the trailer's CRC
        kSubnodes = 4,  ///< an SLBLOCK that begins with an attachment table
        kFirstMethod = 8,
    };

    /// `heapMethods`: MethodBit of the crypt methods under which the block begins a heap. The record's ib is
    /// a multiple of 16 below 16 TiB, its cb below 64 KiB.
    TrailerBlock(const BlockRecord& record, std::uint8_t marks, std::uint8_t heapMethods)
        : m_bid(record.bid),
          m_slotLow(static_cast<std::uint32_t>(record.ib >> 4)),
          m_cb(static_cast<std::uint16_t>(record.cb)),
          m_slotHigh(static_cast<std::uint8_t>(record.ib >> 36)),
          m_marks(static_cast<std::uint8_t>(marks | heapMethods * kFirstMethod))
    {
    }

    BlockRecord Record() const { return {m_bid, m_cb, (std::uint64_t{m_slotHigh} << 32 | m_slotLow) << 4}; }
    std::uint32_t Bid() const { return m_bid; }
    bool Has(Mark mark) const { return (m_marks & mark) != 0; }
    std::uint8_t HeapMethods() const { return m_marks / kFirstMethod; }

private:
    std::uint32_t m_bid, m_slotLow;
    std::uint16_t m_cb;
    std::uint8_t m_slotHigh, m_marks;
};
static_assert(sizeof(TrailerBlock) == 12);

/// True for an SLBLOCK of `cb` bytes whose first entry is a message's attachment table: what is left of a
/// message's subnodes. `head` are its first stored bytes. [MS-PST] 2.2.2.8.3.3.1
bool IsMessageSubnodes(const format::VariantLayout& layout, std::uint32_t cb, format::CByteView head);

/// What a scan for blocks looks for.
struct BlockScanOptions {
    bool smartScan = false;  ///< also finds trailers whose signature is wrong, and looks into the blocks
    FileKind kind = FileKind::Unknown;
};

/// Finds the blocks whose trailers stand in the slots of a window. What it costs is bounded by the window's
/// size, whatever stands in it.
class CTrailerSearch {
public:
    /// The window and the layout must outlive this object.
    CTrailerSearch(const ScanWindow& window, const format::VariantLayout& layout,
                   const BlockScanOptions& options, std::uint64_t fileSize);

    /// Looks at the slots of one page of the window, adding what it finds. Pages must not go back.
    void SearchPage(std::uint64_t offset, std::vector<TrailerBlock>& found);

private:
    struct Trailer {
        std::uint64_t slot;  ///< file offset of the slot that it begins in
        std::uint32_t cb, bid, crc;
        std::uint16_t signature;
    };

    void SearchSlot(std::uint64_t slot, std::vector<TrailerBlock>& found);
    void TryDistances(const Trailer& trailer, std::uint64_t exact, std::vector<TrailerBlock>& found);
    void TryUnsigned(const Trailer& trailer, std::uint64_t start, std::vector<TrailerBlock>& found);
    std::uint64_t ExactStart(const Trailer& trailer) const;
    bool IsPossibleEnd(std::uint64_t slot) const;
    bool IsPossibleStart(std::uint64_t start) const;
    bool IsSigned(const Trailer& trailer, std::uint64_t start) const;
    bool IsSound(const Trailer& trailer, std::uint64_t start);
    bool IsPaddingZero(const Trailer& trailer, std::uint64_t start) const;
    void Add(const Trailer& trailer, std::uint64_t start, std::uint8_t marks,
             std::vector<TrailerBlock>& found) const;
    void NoteData(std::uint64_t slot, std::uint64_t low, std::uint64_t high);

    const ScanWindow& m_window;
    const format::VariantLayout& m_layout;
    BlockScanOptions m_options;
    std::uint64_t m_fileSize;
    std::uint64_t m_firstBlock;
    std::size_t m_trailerOffset;   ///< of a trailer in the slot that it begins in: it ends on a slot border
    std::size_t m_largest;         ///< data of a block
    std::uint64_t m_dataEnd = 0;   ///< one past the last byte so far that is not zero; 0: none in the view
    std::uint64_t m_noted;         ///< slots before have been looked at for that
    std::uint64_t m_crcAllowance;  ///< bytes that may still be summed
};

}  // namespace pastille::store
