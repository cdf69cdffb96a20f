#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "format/Bytes.h"
#include "format/Fault.h"
#include "format/Header.h"
#include "format/Layout.h"

namespace pastille::format {

/// ptype. [MS-PST] 2.2.2.7.1
enum class PageType : std::uint8_t {
    BlockTree = 0x80,      ///< ptypeBBT
    NodeTree = 0x81,       ///< ptypeNBT
    FreeMap = 0x82,        ///< ptypeFMap
    PageMap = 0x83,        ///< ptypePMap
    AllocationMap = 0x84,  ///< ptypeAMap
    FreePageMap = 0x85,    ///< ptypeFPMap
    DensityList = 0x86,    ///< ptypeDL
};

/// True for the map pages, whose wSig is 0 and whose BID is their own file offset.
constexpr bool IsMapPage(PageType type)
{
    return type >= PageType::FreeMap && type <= PageType::FreePageMap;
}

/// PAGETRAILER. [MS-PST] 2.2.2.7.1
struct PageTrailer {
    PageType type;
    std::uint16_t signature;  ///< wSig
    std::uint32_t crc;        ///< dwCRC of everything before the trailer
    std::uint64_t bid;
};

/// What contradicts itself in a page that could still be read. Bits combine.
enum PageFault : std::uint8_t {
    kPageSound = 0,
    kPageBadCrc = 1,        ///< stored CRC differs from the bytes
    kPageBadSignature = 2,  ///< stored hash does not fit this offset: moved or stale page
};

/// A page's trailer as it was found, and what is wrong with it.
struct CheckedPageTrailer {
    PageTrailer trailer;
    std::uint8_t faults;  ///< PageFault bits
};

/// Completes a page whose body is in place: writes type, signature, CRC and BID. `bid` is not looked at for
/// map pages. REQUIRES: page.size() == layout.pageSize.
void EncodePageTrailer(const VariantLayout& layout, std::span<std::byte> page, PageType type,
                       std::uint64_t fileOffset, std::uint64_t bid);

/// Reads the trailer of a page found at `fileOffset`. Nothing when the bytes are no page: wrong length,
/// unknown ptype, or its copy differs.
std::optional<CheckedPageTrailer> ParsePageTrailer(const VariantLayout& layout, CByteView page,
                                                   std::uint64_t fileOffset);

/// NBTENTRY. [MS-PST] 2.2.2.7.7.4
struct NodeEntry {
    std::uint64_t nid = 0;  ///< only the low 32 bits count
    std::uint64_t bidData = 0;
    std::uint64_t bidSub = 0;
    std::uint32_t nidParent = 0;
};

/// BBTENTRY. [MS-PST] 2.2.2.7.7.3
struct BlockEntry {
    BlockReference reference;
    std::uint16_t size = 0;  ///< cb: data bytes as stored, without padding and trailer
    std::uint16_t inflatedSize =
        0;                         ///< 4 KB pages only: data bytes after inflating; elsewhere equal to `size`
    std::uint16_t references = 0;  ///< cRef
};

/// BTENTRY. [MS-PST] 2.2.2.7.7.2
struct IndexEntry {
    std::uint64_t key = 0;  ///< first key of the child page
    BlockReference child;
};

// Encoders of one entry. REQUIRES: into.size() is at least the entry's size in the layout.
void EncodeNodeEntry(const VariantLayout& layout, const NodeEntry& entry, std::span<std::byte> into);
void EncodeBlockEntry(const VariantLayout& layout, const BlockEntry& entry, std::span<std::byte> into);
void EncodeIndexEntry(const VariantLayout& layout, const IndexEntry& entry, std::span<std::byte> into);

// Decoders of one entry; nothing when the bytes are too few.
std::optional<NodeEntry> DecodeNodeEntry(const VariantLayout& layout, CByteView bytes);
std::optional<BlockEntry> DecodeBlockEntry(const VariantLayout& layout, CByteView bytes);
std::optional<IndexEntry> DecodeIndexEntry(const VariantLayout& layout, CByteView bytes);

/// Bytes of an entry in a page of that tree and level.
constexpr std::size_t TreeEntrySize(const VariantLayout& layout, PageType tree, unsigned level)
{
    return tree == PageType::NodeTree && level == 0 ? layout.nodeEntrySize : layout.blockEntrySize;
}
/// Most entries of that size in one B-tree page: 15, 20 and 20 in Unicode files.
constexpr std::size_t TreePageCapacity(const VariantLayout& layout, std::size_t entrySize)
{
    return layout.countOffset / entrySize;
}

/// Completes a B-tree page whose `count` entries stand packed at its start: clears the rest, writes the
/// counters and the trailer. REQUIRES: page.size() == layout.pageSize and the entries fit.
void EncodeTreePage(const VariantLayout& layout, std::span<std::byte> page, PageType tree, unsigned level,
                    std::size_t count, std::uint64_t fileOffset, std::uint64_t bid);

/// A B-tree page. [MS-PST] 2.2.2.7.7.1 The view keeps the bytes' place, not the bytes.
class CTreePage {
public:
    /// Checks that the counters fit the page; says nothing of the trailer (ParsePageTrailer does) nor of the
    /// order of the keys.
    static Result<CTreePage> Parse(const VariantLayout& layout, CByteView page);

    std::size_t Count() const { return m_count; }
    std::size_t MaximumCount() const { return m_maximumCount; }
    std::size_t EntrySize() const { return m_entrySize; }
    unsigned Level() const { return m_level; }
    PageType Tree() const { return m_tree; }

    // REQUIRES of each: index < Count(); NodeAt and BlockAt: Level() == 0 and the tree of that kind.
    NodeEntry NodeAt(std::size_t index) const;
    BlockEntry BlockAt(std::size_t index) const;
    IndexEntry ChildAt(std::size_t index) const;
    /// The first field of any entry; for BIDs with bit 0 cleared, for NIDs the low 32 bits.
    std::uint64_t KeyAt(std::size_t index) const;

private:
    CTreePage(const VariantLayout& layout, CByteView page) : m_layout(&layout), m_page(page) {}
    CByteView EntryAt(std::size_t index) const;

    const VariantLayout* m_layout;
    CByteView m_page;
    PageType m_tree = PageType::BlockTree;
    std::size_t m_count = 0;
    std::size_t m_maximumCount = 0;
    std::size_t m_entrySize = 0;
    unsigned m_level = 0;
};

}  // namespace pastille::format
