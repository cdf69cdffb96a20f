#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "store/complete/SourceBlocks.h"

namespace pastille::store::complete {

/// The blocks that something refers to, of all that the index has. A bit for each block.
class CReferences {
public:
    /// All must outlive this object.
    CReferences(const CBlockIndex& index, CSourceBlocks& blocks)
        : m_index(index), m_blocks(blocks), m_marks(index.Records().size())
    {
    }

    /// Marks an object's blocks: its data's tree and first leaves, and whatever its subnodes name, all the
    /// way down. What was marked before is not gone through again.
    void Mark(const NodeReference& object);
    /// The same for what a subnode block names, but not for the block itself.
    void MarkBelow(std::uint64_t bidSub, bool isAtHome);
    /// True when a block of that BID is marked.
    bool IsMarkedBid(std::uint64_t bid) const;
    /// REQUIRES: a record's place in the index.
    bool IsMarked(std::size_t record) const { return m_marks[record]; }

private:
    struct Pending {
        std::uint64_t bid;
        bool isAtHome;
    };

    /// False when the block is not there or was marked before.
    bool MarkBlock(std::uint64_t bid);
    void MarkChildren(const Pending& block);
    void Finish();

    const CBlockIndex& m_index;
    CSourceBlocks& m_blocks;
    std::vector<bool> m_marks;
    std::vector<Pending> m_pending;  ///< marked blocks whose children are not
};

}  // namespace pastille::store::complete
