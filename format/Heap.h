#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "format/Bytes.h"
#include "format/Fault.h"
#include "format/Layout.h"

namespace pastille::format {

inline constexpr std::size_t kLargestHeapItem = 3580;  ///< bytes of one allocation
inline constexpr std::size_t kMostHeapItems = 2047;    ///< allocations in one block
inline constexpr std::uint8_t kHeapSignature = 0xEC;   ///< bSig

/// bClientSig of the documented structures. [MS-PST] 2.3.1.2
namespace clientsig {
inline constexpr std::uint8_t kTableContext = 0x7C;
inline constexpr std::uint8_t kBth = 0xB5;
inline constexpr std::uint8_t kPropertyContext = 0xBC;
}  // namespace clientsig

/// HID: where an allocation of a heap lies. `index` counts from 1. [MS-PST] 2.3.1.1
struct HeapId {
    std::uint32_t value = 0;

    /// In files with 512-byte pages. REQUIRES: block <= 65535, 1 <= index <= 2047.
    static constexpr HeapId Make(std::size_t block, std::size_t index)
    {
        return {static_cast<std::uint32_t>((block << 16) | (index << 5))};
    }
    friend bool operator==(HeapId, HeapId) = default;
};

/// True when an HNID is a HID or 0 (no data); otherwise it is the NID of a subnode. [MS-PST] 2.3.3.2
constexpr bool IsHeapId(std::uint32_t hnid)
{
    return (hnid & 0x1F) == 0;
}

/// Bytes of the header at the start of a heap's block: HNHDR in block 0, HNBITMAPHDR in blocks 8, 136,
/// 264..., else HNPAGEHDR. [MS-PST] 2.3.1.2 to 2.3.1.4
constexpr std::size_t HeapHeaderSize(std::size_t blockIndex)
{
    if (blockIndex == 0)
        return 12;
    return blockIndex % 128 == 8 ? 66 : 2;
}

/// Fill level of a heap block with `freeBytes` unused, 0 (3584 and more) to 15 (less than 8).
/// [MS-PST] 2.3.1.2
std::uint8_t HeapFillLevel(std::size_t freeBytes);

/// One block of a heap-on-node. [MS-PST] 2.3.1
class CHeapBlockView {
public:
    /// Reads the page map of block number `blockIndex`: it lies inside the block and holds all its offsets.
    static Result<CHeapBlockView> Parse(CByteView block, std::size_t blockIndex);

    std::size_t Count() const { return m_count; }            ///< cAlloc
    std::size_t FreeCount() const { return m_freeCount; }    ///< cFree
    std::size_t PageMapOffset() const { return m_pageMap; }  ///< ibHnpm
    /// Allocation number `index`, counted from 1. Nothing when there is none or it does not lie between the
    /// header and the page map. May be empty: a freed allocation.
    std::optional<CByteView> Item(std::size_t index) const;

    // Of block 0 only.
    std::uint8_t Signature() const { return m_block.ReadOrZero<std::uint8_t>(2); }        ///< bSig
    std::uint8_t ClientSignature() const { return m_block.ReadOrZero<std::uint8_t>(3); }  ///< bClientSig
    std::uint32_t UserRoot() const { return m_block.ReadOrZero<std::uint32_t>(4); }       ///< hidUserRoot

    /// Every rule that a sound block keeps beyond what Parse asks for: even ibHnpm at most one byte behind
    /// the last allocation, offsets rising from the header's end, cFree the number of empty allocations.
    std::optional<Fault> FindFault(std::size_t blockIndex) const;

private:
    CByteView m_block;
    std::size_t m_headerSize = 0;
    std::size_t m_pageMap = 0;
    std::size_t m_count = 0;
    std::size_t m_freeCount = 0;
};

/// Bytes that several holders share, so that a view into them stays valid.
using SharedBytes = std::shared_ptr<const std::vector<std::byte>>;

/// The data blocks of one node, decoded, in order: what a heap or a row matrix of several blocks is read
/// from.
class IBlockSequence {
public:
    virtual ~IBlockSequence() = default;
    virtual std::size_t BlockCount() = 0;
    /// The bytes of a block; nullptr when it is not there or cannot be read.
    virtual SharedBytes BlockAt(std::size_t index) = 0;
};

/// A piece of a block together with what keeps its bytes.
struct HeldBytes {
    SharedBytes owner;
    CByteView view;
};

/// Where in its heap an allocation lies.
struct HeapPlace {
    std::size_t block = 0;
    std::size_t index = 0;  ///< from 1
};

/// A heap-on-node of any number of blocks. Keeps a reference to `blocks`, which must outlive it.
/// [MS-PST] 2.3.1
class CHeapView {
public:
    /// Reads the header of block 0.
    static Result<CHeapView> Open(const VariantLayout& layout, IBlockSequence& blocks);

    std::uint8_t ClientSignature() const { return m_clientSignature; }
    std::uint32_t UserRoot() const { return m_userRoot; }
    /// The allocation behind a HID: a fault when the identifier is no HID or 0, or leads nowhere.
    Result<HeldBytes> Item(std::uint32_t hid) const;
    /// The same, and tells where it lies.
    Result<HeldBytes> Item(std::uint32_t hid, HeapPlace& place) const;
    IBlockSequence& Blocks() const { return *m_blocks; }

private:
    const VariantLayout* m_layout = nullptr;
    IBlockSequence* m_blocks = nullptr;
    std::uint8_t m_clientSignature = 0;
    std::uint32_t m_userRoot = 0;
};

}  // namespace pastille::format
