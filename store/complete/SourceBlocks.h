#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Block.h"
#include "format/Heap.h"
#include "store/complete/CompleteScan.h"

namespace pastille::store::complete {

/// Why something of the source could not be read, and where.
struct SourceFault {
    enum class Reason : std::uint8_t {
        BlockMissing,  ///< no block of that BID is in the file
        BlockDamaged,  ///< it is, but its bytes are not what they were
        Structure,     ///< the bytes are sound but say something impossible
        Limit,         ///< more than any file of this size can hold
    };
    Reason reason;
    std::uint64_t bid = 0;                ///< of the block; 0: of none
    std::optional<std::uint64_t> offset;  ///< in the source file, where it is known
};

/// Keeps the first fault of several.
inline void NoteFirst(std::optional<SourceFault>& first, const std::optional<SourceFault>& fault)
{
    if (!first)
        first = fault;
}

/// What a reference in the source names: an object's data and what lies below it.
struct NodeReference {
    std::uint64_t bidData = 0;
    std::uint64_t bidSub = 0;
    bool isAtHome =
        true;  ///< the page that says so has not moved: of equal BIDs the one that has not is meant
};

/// One block as it could be read.
struct SourceBlock {
    format::SharedBytes bytes;     ///< decoded; nullptr when nothing could be read
    std::uint32_t storedSize = 0;  ///< bytes in the file
    std::optional<SourceFault> fault;
};

struct DataLeaves;

/// Reads the blocks of a scanned source, sound ones and what is left of damaged ones. Not for use by two
/// threads at once.
class CSourceBlocks {
public:
    /// The source must outlive this object.
    explicit CSourceBlocks(CScannedSource& source) : m_source(source) {}

    const format::VariantLayout& Layout() const { return m_source.Layout(); }
    std::uint64_t FileSize() const { return m_source.file.Size(); }
    /// Blocks that the scan has found.
    std::size_t Count() const { return m_source.blocks.Records().size(); }
    /// The block of a BID, decoded and inflated; internal blocks are never encoded. A damaged one comes as it
    /// is now, with its fault: what has been erased is zeros, and a data block whose place may hold another
    /// by now is not there.
    SourceBlock Read(std::uint64_t bid, bool isAtHome);
    /// Bytes in the file of the block of a BID; nothing when it was not found.
    std::optional<std::uint32_t> StoredSize(std::uint64_t bid, bool isAtHome) const;
    /// The leaves of the data tree below an internal block. Those of the trees asked for last are kept. All
    /// trees together have a limit, far above what sound files need: it is not reached by reading them anew.
    std::shared_ptr<const DataLeaves> Leaves(std::uint64_t bid, bool isAtHome);

private:
    struct Cached {
        std::uint64_t bid = 0;
        bool isAtHome = false;
        std::uint64_t lastUse = 0;
        SourceBlock block;
    };

    struct CachedTree {
        std::uint64_t bid = 0;
        bool isAtHome = false;
        std::uint64_t lastUse = 0;
        std::shared_ptr<const DataLeaves> leaves;
    };

    SourceBlock ReadPlace(std::uint64_t bid, const BlockPlace& place);
    bool IsOfAnother(const format::CheckedBlockTrailer& checked, const BlockPlace& place, std::uint64_t bid,
                     std::span<const std::byte> extent) const;

    CScannedSource& m_source;
    std::array<Cached, 32> m_cache;
    std::array<CachedTree, 4> m_trees;
    std::optional<std::uint64_t> m_leavesLeft;  ///< that trees may still have; not known before the first
    std::uint64_t m_uses = 0;
};

}  // namespace pastille::store::complete
