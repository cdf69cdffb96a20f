#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "component/pst/ndb/NdbWriter.h"
#include "format/Heap.h"

namespace pastille::component::pst {

/// Builds a heap-on-node of any number of blocks. Full blocks are written at once; the first block, the open
/// bitmap block and the current block stay in memory. A copy is a savepoint: it can be finished while the
/// original goes on from where it was. [MS-PST] 2.3.1
class CHeapWriter {
public:
    explicit CHeapWriter(std::uint8_t clientSignature);

    /// Adds an item of 1 to 3580 bytes; an empty one is HeapId 0 and takes nothing.
    format::HeapId Add(CNdbWriter& writer, std::span<const std::byte> bytes);
    /// The bytes of an item of the first block, to be changed in place.
    std::span<std::byte> ItemOfFirstBlock(format::HeapId id);
    /// The bytes of an item that still stands in memory; nothing for one in a block written before.
    std::optional<std::span<const std::byte>> FindItem(format::HeapId id) const;
    void SetUserRoot(format::HeapId id) { m_userRoot = id; }

    /// Writes what is left: the root of the heap's data tree. Nothing may be added afterwards.
    format::Bid Finish(CNdbWriter& writer);
    /// Bytes of the data tree, known after Finish.
    std::uint64_t Size() const { return m_size; }
    /// Blocks so far.
    std::size_t BlockCount() const { return m_blocks.size(); }

private:
    /// A block in memory: its items follow the header.
    struct OpenBlock {
        std::size_t index = 0;
        std::vector<std::byte> bytes;     ///< header and items
        std::vector<std::uint16_t> ends;  ///< end of each item
    };
    /// A block in its final place: written already, or kept because its header is not final.
    struct Place {
        std::uint64_t bid = 0;  ///< 0: kept in m_first, m_bitmap or m_current
        std::uint8_t fillLevel = 0;
    };

    static std::span<const std::byte> ItemOf(const OpenBlock& block, std::size_t index);
    static OpenBlock MakeBlock(std::size_t index);
    std::size_t FreeBytes(const OpenBlock& block) const;
    void CloseCurrent(CNdbWriter& writer);
    std::vector<std::byte> Encode(const OpenBlock& block, bool isLast) const;
    format::Bid WriteBlock(CNdbWriter& writer, const OpenBlock& block, bool isLast) const;

    std::uint8_t m_clientSignature;
    format::HeapId m_userRoot;
    OpenBlock m_current;
    std::optional<OpenBlock> m_first;   ///< once it is not the current block
    std::optional<OpenBlock> m_bitmap;  ///< latest block with a bitmap header, once it is not the current one
    std::vector<Place> m_blocks;
    std::uint64_t m_size = 0;
};

/// Fills in a BTHHEADER of 8 bytes. [MS-PST] 2.3.2.1
void EncodeBthHeader(std::span<std::byte> header, std::size_t keySize, std::size_t dataSize, unsigned levels,
                     format::HeapId root);

/// Writes the records of a BTH (sorted, packed: key and data) and its index levels into the heap, and
/// completes the BTHHEADER, an item of 8 bytes in the heap's first block. [MS-PST] 2.3.2
void WriteBth(CNdbWriter& writer, CHeapWriter& heap, format::HeapId header, std::size_t keySize,
              std::size_t dataSize, std::span<const std::byte> records);

}  // namespace pastille::component::pst
