#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "format/Bytes.h"
#include "store/BlockReader.h"

namespace pastille::platform {
class CCodePage;
}

namespace pastille::store {

struct SubnodeEntry;

/// One property record of a property context. [MS-PST] 2.3.3.3
struct PropertyRecord {
    std::uint16_t id;
    std::uint16_t type;
    std::uint32_t value;  ///< the value itself or an HNID
};

/// The first block of a heap-on-node, decoded. Identifiers are resolved inside this block only; every offset
/// is checked against the block, which may be damaged. [MS-PST] 2.3.1
class CHeapBlock {
public:
    CHeapBlock() = default;
    /// Takes the decoded bytes, which must outlive this object. The layout tells at which bit of an
    /// identifier its block index begins.
    CHeapBlock(format::CByteView block, const format::VariantLayout& layout);

    format::CByteView Block() const { return m_block; }
    std::uint16_t Signature() const { return m_block.ReadOrZero<std::uint16_t>(2); }
    std::uint16_t PageMapOffset() const { return m_block.ReadOrZero<std::uint16_t>(0); }
    std::uint32_t UserRoot() const { return m_block.ReadOrZero<std::uint32_t>(4); }

    /// True when `hid` is the identifier of an allocation of this, the first block: no node id, no later
    /// block.
    bool IsOwn(std::uint32_t hid) const;
    /// Offset of the page-map entry of an identifier; it may lie outside the block.
    std::uint64_t MapPosition(std::uint32_t hid) const;
    /// True when the page-map entry of `hnid`, read as a heap identifier, lies in the block with 4 bytes to
    /// spare: the test that property values must pass before they are used.
    bool PassesBoundsTest(std::uint32_t hnid) const;
    /// The allocation of a heap identifier: start <= end <= size; empty for 0. Nothing when it lies outside
    /// the block, and for everything that is no own identifier.
    std::optional<format::CByteView> Allocation(std::uint32_t hid) const;
    /// The allocation as a writer takes a value: only when its end exceeds 15, its start is not 0 and below
    /// its end, and its length plus 4 is not above the block's size.
    std::optional<format::CByteView> Value(std::uint32_t hid) const;

    /// The records of a property context whose user root is a BTH header of 8 bytes; `checkHeader` also asks
    /// for bType 0xB5 and cbKey 2. Nothing when a check fails or there is no record.
    std::optional<std::vector<PropertyRecord>> PropertyRecords(bool checkHeader) const;

private:
    struct Extent {
        std::uint32_t start;
        std::uint32_t end;
    };
    std::optional<Extent> FindExtent(std::uint32_t hid) const;

    format::CByteView m_block;
    unsigned m_blockIndexShift = 16;
};

/// Text of a string value (type 0x001F or 0x001E) of a property context: from the heap allocation, or from
/// the subnode that the HNID names where the page-map entry lies beyond the block. "" for other types.
std::u16string ReadStringValue(CBlockReader& reader, const CHeapBlock& heap, std::uint16_t type,
                               std::uint32_t hnid, const std::vector<SubnodeEntry>& subnodes,
                               const platform::CCodePage& codePage);

}  // namespace pastille::store
