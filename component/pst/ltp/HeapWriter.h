#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "component/pst/ltp/GrowingTree.h"
#include "component/pst/ndb/NdbWriter.h"
#include "format/Heap.h"

namespace pastille::component::pst {

/// Builds a heap-on-node of any number of blocks. Full blocks are written at once. The first block, whose
/// header tells of later ones, the open bitmap block and the current block stay in memory, until the heap is
/// parked: then they too are read back from the file when they are needed. A copy is a savepoint: it can be
/// finished while the original goes on from where it was. [MS-PST] 2.3.1
class CHeapWriter {
public:
    static constexpr std::size_t kMostBlocks = 65536;  ///< that the 16 bits of a HID can number

    explicit CHeapWriter(std::uint8_t clientSignature);

    /// Adds an item of 1 to 3580 bytes; an empty one is HeapId 0 and takes nothing. Raises std::length_error
    /// when the item is longer, or when it needs one block more than a heap can have.
    format::HeapId Add(CNdbWriter& writer, std::span<const std::byte> bytes);
    /// The bytes of an item of the first block, to be changed in place before the next call.
    std::span<std::byte> ItemOfFirstBlock(CNdbWriter& writer, format::HeapId id);
    /// The bytes of an item, wherever it stands. REQUIRES: it is this heap's.
    std::vector<std::byte> Item(CNdbWriter& writer, format::HeapId id) const;
    void SetUserRoot(format::HeapId id) { m_userRoot = id; }

    /// Writes what is left: the root of the heap's data tree. Nothing may be added afterwards.
    format::Bid Finish(CNdbWriter& writer);
    /// Bytes of the data tree, known after Finish.
    std::uint64_t Size() const { return m_size; }
    /// The block that an item has got, known after Finish.
    format::Bid BlockOf(format::HeapId id) const;
    /// Blocks so far.
    std::size_t BlockCount() const { return m_fillLevels.size(); }

    /// Frees the memory of this heap. `finished` is a copy of it that was finished since its last change.
    void Park(const CHeapWriter& finished);
    /// Memory that grows with the heap. Bytes.
    std::size_t HeldBytes() const;

private:
    /// A block that is not in its final form. The items of a parked one stand in a block of the file up to
    /// `end`, those added later in memory.
    struct OpenBlock {
        std::size_t index = 0;
        format::Bid parked{};             ///< 0: all items are in memory
        std::size_t parkedItems = 0;      ///< of the block `parked`, which may have more
        std::size_t begin = 0;            ///< where `bytes` begins in the block
        std::vector<std::byte> bytes;     ///< items
        std::vector<std::uint16_t> ends;  ///< end of each item in the block

        std::size_t End() const { return begin + bytes.size(); }
        std::size_t Count() const { return parkedItems + ends.size(); }
    };

    static std::span<const std::byte> ItemOf(const OpenBlock& block, std::size_t index);
    static OpenBlock MakeBlock(std::size_t index);
    static void Load(CNdbWriter& writer, OpenBlock& block);
    static void Park(OpenBlock& block, format::Bid bid);
    std::size_t FreeBytes(const OpenBlock& block) const;
    const OpenBlock* FindOpen(std::size_t index) const;
    void CloseCurrent(CNdbWriter& writer);
    std::vector<std::byte> Encode(const OpenBlock& block, bool isLast) const;
    format::Bid WriteBlock(CNdbWriter& writer, OpenBlock& block, bool isLast) const;

    std::uint8_t m_clientSignature;
    format::HeapId m_userRoot;
    OpenBlock m_current;
    std::optional<OpenBlock> m_first;        ///< once it is not the current block
    std::optional<OpenBlock> m_bitmap;       ///< latest block with a bitmap header, once not the current one
    CGrowingTree m_tree;                     ///< all blocks but the current one; 0: m_first or m_bitmap
    std::vector<std::uint8_t> m_fillLevels;  ///< of all blocks; the current one's is not yet known
    format::Bid m_last;                      ///< the current block, once finished
    std::uint64_t m_size = 0;
};

/// Fills in a BTHHEADER of 8 bytes. [MS-PST] 2.3.2.1
void EncodeBthHeader(std::span<std::byte> header, std::size_t keySize, std::size_t dataSize, unsigned levels,
                     format::HeapId root);

/// Writes the leaves of a BTH: arrays of sorted, packed records (key and data) that fill an item as far as
/// whole ones go. Returns an index record (key and HID) for each.
std::vector<std::byte> WriteBthLeaves(CNdbWriter& writer, CHeapWriter& heap, std::size_t keySize,
                                      std::size_t dataSize, std::span<const std::byte> records);
/// Writes the index levels over leaves that stand in the heap, and completes the BTHHEADER, an item of 8
/// bytes in the heap's first block. [MS-PST] 2.3.2
void WriteBthIndex(CNdbWriter& writer, CHeapWriter& heap, format::HeapId header, std::size_t keySize,
                   std::size_t dataSize, std::vector<std::byte> index);
/// Both in one.
void WriteBth(CNdbWriter& writer, CHeapWriter& heap, format::HeapId header, std::size_t keySize,
              std::size_t dataSize, std::span<const std::byte> records);

}  // namespace pastille::component::pst
