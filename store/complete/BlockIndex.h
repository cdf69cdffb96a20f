#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace pastille::store::complete {

/// Where a block lies and how far it can be believed.
struct BlockPlace {
    std::uint64_t offset;  ///< in the source file
    std::uint32_t size;    ///< bytes as stored
    bool isSound;          ///< the bytes there have the CRC of their trailer, which names the block
    bool isAtHome;         ///< the trailer's signature is right for this place: the block has not moved
};

/// A block of the index. 16 bytes.
class BlockRecord {
public:
    enum Mark : std::uint8_t { kSound = 1, kAtHome = 2 };

    /// The offset is below 2^46, the size below 2^16. Bit 0 of the BID is not kept.
    BlockRecord(std::uint64_t bid, std::uint64_t offset, std::uint32_t size, std::uint8_t marks)
        : m_bid(bid & ~std::uint64_t{1}),
          m_offset(offset & 0x3FFF'FFFF'FFFF),
          m_size(size & 0xFFFF),
          m_marks(static_cast<std::uint8_t>(marks & 3))
    {
    }
    std::uint64_t Bid() const { return m_bid; }
    BlockPlace Place() const
    {
        return {m_offset, static_cast<std::uint32_t>(m_size), (m_marks & kSound) != 0,
                (m_marks & kAtHome) != 0};
    }

private:
    std::uint64_t m_bid;
    std::uint64_t m_offset : 46;
    std::uint64_t m_size : 16;
    std::uint64_t m_marks : 2;
};
static_assert(sizeof(BlockRecord) == 16);

/// Every block that the scan has found, by BID: sound ones wherever they lie, and of BIDs that have no sound
/// block the place where pages or a trailer say that one is.
class CBlockIndex {
public:
    void Append(const BlockRecord& record) { m_records.push_back(record); }
    /// Orders the records and drops repeats; of one BID the first 64 in the file stay. What is appended later
    /// is not found until it is called again.
    void Finish();

    /// The block of a BID (bit 0 is not looked at): a sound one before a damaged one, then one that is at
    /// home as `atHome` says, as those are that a page at home (a page that has moved) means; then the first
    /// in the file. Nothing for 0.
    std::optional<BlockPlace> Find(std::uint64_t bid, bool atHome) const;
    /// By BID, those of one BID in the order of the file. REQUIRES: finished.
    std::span<const BlockRecord> Records() const { return m_records; }

private:
    std::vector<BlockRecord> m_records;
};

}  // namespace pastille::store::complete
