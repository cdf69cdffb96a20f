#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Bytes.h"
#include "format/Fault.h"
#include "format/Layout.h"

namespace pastille::format {

/// BLOCKTRAILER. [MS-PST] 2.2.2.8.1
struct BlockTrailer {
    std::uint16_t size = 0;       ///< cb
    std::uint16_t signature = 0;  ///< wSig
    std::uint32_t crc = 0;        ///< dwCRC of the stored data, padding not counted
    std::uint64_t bid = 0;
    std::uint16_t inflatedSize = 0;  ///< 4 KB pages only; elsewhere equal to `size`
};

/// What contradicts itself in a block's trailer. Bits combine.
enum BlockFault : std::uint8_t {
    kBlockSound = 0,
    kBlockBadSize = 1,       ///< cb differs from the size asked for
    kBlockBadSignature = 2,  ///< hash does not fit the offset and BID
    kBlockBadCrc = 4,        ///< CRC differs from the bytes
    kBlockBadBid = 8,        ///< BID differs from the one asked for, bit 0 aside
};

/// A block's trailer as it was found, and what is wrong with it.
struct CheckedBlockTrailer {
    BlockTrailer trailer;
    std::uint8_t faults = kBlockSound;  ///< BlockFault bits
};

/// Completes a block whose `dataBytes` stored (encoded) bytes stand at the start of `extent`: clears the
/// padding and writes the trailer. `inflatedSize` is only kept in 4 KB files, where 0 means: as stored.
/// REQUIRES: extent.size() == BlockExtent(layout, dataBytes), dataBytes <= layout.largestBlock.
void EncodeBlockTrailer(const VariantLayout& layout, std::span<std::byte> extent, std::size_t dataBytes,
                        std::uint64_t fileOffset, std::uint64_t bid, std::uint16_t inflatedSize = 0);

/// Reads the trailer of a block of `dataBytes` found at `fileOffset` and checks it against what is expected.
/// Nothing when `extent` is not as long as such a block is.
std::optional<CheckedBlockTrailer> ParseBlockTrailer(const VariantLayout& layout, CByteView extent,
                                                     std::size_t dataBytes, std::uint64_t fileOffset,
                                                     std::uint64_t bid);

/// btype of the internal blocks. [MS-PST] 2.2.2.8.3
inline constexpr std::uint8_t kBlockTypeDataTree = 1;
inline constexpr std::uint8_t kBlockTypeSubnode = 2;

/// Most children of an XBLOCK or XXBLOCK: 1021 in Unicode files.
constexpr std::size_t DataTreeCapacity(const VariantLayout& layout)
{
    return (layout.largestBlock - 8) / layout.keyWidth;
}
/// Bytes before the entries of an SLBLOCK or SIBLOCK.
constexpr std::size_t SubnodeHeaderSize(const VariantLayout& layout)
{
    return layout.wide ? 8 : 4;
}
/// Most entries of an SLBLOCK: 340 in Unicode files.
constexpr std::size_t SubnodeLeafCapacity(const VariantLayout& layout)
{
    return (layout.largestBlock - SubnodeHeaderSize(layout)) / (3 * layout.keyWidth);
}
/// Most entries of an SIBLOCK: 510 in Unicode files.
constexpr std::size_t SubnodeIndexCapacity(const VariantLayout& layout)
{
    return (layout.largestBlock - SubnodeHeaderSize(layout)) / (2 * layout.keyWidth);
}

/// XBLOCK (level 1) or XXBLOCK (level 2). [MS-PST] 2.2.2.8.3.2
class CDataTreeBlock {
public:
    /// Checks btype, that the level is 1 or 2, and that all children lie inside the block.
    static Result<CDataTreeBlock> Parse(const VariantLayout& layout, CByteView block);

    unsigned Level() const { return m_level; }
    std::size_t Count() const { return m_count; }
    std::uint32_t TotalSize() const { return m_totalSize; }  ///< lcbTotal
    /// BID of a child. REQUIRES: index < Count().
    std::uint64_t ChildAt(std::size_t index) const
    {
        return m_block.ReadKey(8 + index * m_keyWidth, m_keyWidth).value_or(0);
    }

private:
    CByteView m_block;
    std::size_t m_keyWidth = 8;
    unsigned m_level = 0;
    std::size_t m_count = 0;
    std::uint32_t m_totalSize = 0;
};

/// REQUIRES: 1 <= children.size() <= DataTreeCapacity(layout).
std::vector<std::byte> EncodeDataTreeBlock(const VariantLayout& layout, unsigned level,
                                           std::uint32_t totalSize, std::span<const std::uint64_t> children);

/// SLENTRY. [MS-PST] 2.2.2.8.3.3.1.1
struct SubnodeLeafEntry {
    std::uint64_t nid = 0;  ///< only the low 32 bits count
    std::uint64_t bidData = 0;
    std::uint64_t bidSub = 0;
};

/// SIENTRY. [MS-PST] 2.2.2.8.3.3.2.1
struct SubnodeIndexEntry {
    std::uint64_t nid = 0;  ///< smallest NID in the child
    std::uint64_t bid = 0;  ///< of an SLBLOCK
};

/// SLBLOCK (level 0) or SIBLOCK (level 1). [MS-PST] 2.2.2.8.3.3
class CSubnodeBlock {
public:
    /// Checks btype, that the level is 0 or 1, and that all entries lie inside the block.
    static Result<CSubnodeBlock> Parse(const VariantLayout& layout, CByteView block);

    unsigned Level() const { return m_level; }
    std::size_t Count() const { return m_count; }
    // REQUIRES of each: index < Count() and the level that has such entries.
    SubnodeLeafEntry LeafAt(std::size_t index) const;
    SubnodeIndexEntry ChildAt(std::size_t index) const;

private:
    CByteView m_entries;
    std::size_t m_keyWidth = 8;
    unsigned m_level = 0;
    std::size_t m_count = 0;
};

/// REQUIRES of both: entries sorted by NID, at least 1 and at most the block's capacity.
std::vector<std::byte> EncodeSubnodeLeaf(const VariantLayout& layout,
                                         std::span<const SubnodeLeafEntry> entries);
std::vector<std::byte> EncodeSubnodeIndex(const VariantLayout& layout,
                                          std::span<const SubnodeIndexEntry> entries);

}  // namespace pastille::format
