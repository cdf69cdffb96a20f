#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "component/pst/ndb/NdbWriter.h"
#include "format/Ids.h"

namespace pastille::component::pst {

/// The data tree of a node that is written again and again while it grows: full blocks by number, and the
/// XBLOCKs over those that have not changed since. Takes 8 bytes per block. A copy may be finished in its
/// place. [MS-PST] 2.2.2.8.3.2
class CGrowingTree {
public:
    /// Blocks below one XBLOCK.
    static constexpr std::size_t kGroup = 1021;
    /// Full blocks that a tree can have before its last one: lcbTotal has 32 bits.
    static constexpr std::size_t kMostFullBlocks = 0xFFFFFFFF / 8176 - 1;

    std::size_t Count() const { return m_blocks.size(); }
    std::size_t HeldBytes() const
    {
        return (m_blocks.capacity() + m_indexes.capacity()) * sizeof(std::uint64_t);
    }
    /// REQUIRES: index < Count().
    format::Bid At(std::size_t index) const { return {m_blocks[index]}; }
    /// Appends the place of a full block; its id may follow (Set).
    void Append(format::Bid bid = {}) { m_blocks.push_back(bid.value); }
    /// REQUIRES: index < Count().
    void Set(std::size_t index, format::Bid bid);

    /// Writes the index blocks that are missing and returns the tree's root. `last`: the block behind the
    /// full ones, of 1 to 8176 bytes. Raises std::length_error when that makes 4 GiB.
    format::Bid Finish(CNdbWriter& writer, format::Bid last, std::size_t lastSize);
    /// Takes over the XBLOCKs that a finished copy has written over just these blocks.
    void TakeIndexes(const CGrowingTree& finished);

private:
    std::vector<std::uint64_t> m_blocks;
    std::vector<std::uint64_t> m_indexes;  ///< of full groups in order; 0: to be written
};

}  // namespace pastille::component::pst
