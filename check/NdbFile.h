#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "check/Finding.h"
#include "check/NdbRules.h"
#include "format/Header.h"
#include "format/Layout.h"
#include "format/Page.h"
#include "platform/FileSystem.h"

namespace pastille::check {

/// What all checks of the node database share: the file, its layout, its header, and where findings go.
struct NdbFile {
    platform::IByteSource& source;
    IFindings& findings;
    const format::VariantLayout* layout = nullptr;
    format::FileHeader header{};
    std::uint64_t end = 0;  ///< where the store ends: blocks and pages lie before it

    /// True when all of `into` could be read.
    bool Read(std::uint64_t offset, std::span<std::byte> into) const
    {
        return source.ReadAt(offset, into) == into.size();
    }
    bool Is4k() const { return layout->variant == format::Variant::Unicode4k; }
    /// Where the first allocation map lies; blocks and tree pages lie behind it.
    std::uint64_t FirstAMap() const { return Is4k() ? 0x22000 : format::kFirstAMapOffset; }
    /// True when `extent` bytes at `offset` lie where blocks and pages may.
    bool Holds(std::uint64_t offset, std::uint64_t extent) const
    {
        return offset >= FirstAMap() && offset <= end && extent <= end - offset;
    }
    /// True of a store that is being written, or whose writer was interrupted.
    bool IsOpen() const { return header.amapValid == format::amapvalid::kInvalid; }
    /// The rule as it counts for this store. Nothing public says how files with 4 KB pages keep their maps.
    const Rule& Weigh(const rules::ClosedRule& rule) const
    {
        return IsOpen() || Is4k() ? rule.open : rule.closed;
    }
    void Add(const rules::ClosedRule& rule, std::string place, std::string detail) const
    {
        findings.Add(Weigh(rule), std::move(place), std::move(detail));
    }
};

/// What findings call a place: "page 0x4400", "block 0x2C", "node 0x21".
std::string PagePlace(std::uint64_t offset);
std::string BlockPlace(std::uint64_t bid);
std::string NodePlace(std::uint32_t nid);

/// What the file has of the header; notes what breaks a rule of the header alone. False when the file is no
/// store of a known kind.
bool ReadHeader(NdbFile& file);

/// A tree page and where it lies.
struct PageUse {
    std::uint64_t offset;
    std::uint64_t bid;
    format::PageType type;
};

/// A block as the BBT lists it, and what is known of it. 32 bytes.
struct BlockRecord {
    /// What an internal block holds, once it has been looked into.
    enum class Kind : std::uint8_t { Data, DataTree, DataTreeRoot, SubnodeLeaf, SubnodeIndex, Unknown };

    std::uint64_t bid;           ///< bit 0 cleared
    std::uint64_t offset;        ///< ib
    std::uint16_t size;          ///< cb
    std::uint16_t inflatedSize;  ///< equal to `size` but for compressed blocks
    std::uint16_t references;    ///< cRef
    Kind kind = Kind::Data;
    bool isPlaced : 1 = false;    ///< lies where a block may lie
    bool isSound : 1 = false;     ///< trailer and bytes are right
    bool isTailFull : 1 = false;  ///< of an XBLOCK: its last data block is full
    bool isLooped : 1 = false;    ///< a subnode block that contains itself, or is below one
    std::uint32_t counted = 0;    ///< references found
    std::uint32_t total = 0;      ///< of an XBLOCK: data bytes below

    bool IsInternal() const { return (bid & 2) != 0; }
};

/// All blocks by rising BID, each once.
class CBlockTable {
public:
    void Add(const format::BlockEntry& entry);
    /// Puts the blocks in order. Needed before all that follows.
    void Close();

    std::vector<BlockRecord>& All() { return m_blocks; }
    const std::vector<BlockRecord>& All() const { return m_blocks; }
    std::size_t Count() const { return m_blocks.size(); }
    /// nullptr: none of that BID, bit 0 aside.
    BlockRecord* Find(std::uint64_t bid);

private:
    std::vector<BlockRecord> m_blocks;
};

}  // namespace pastille::check
