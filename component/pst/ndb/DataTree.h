#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "component/pst/ndb/NodeDatabase.h"

namespace pastille::component::pst {

/// Reads the data tree of a node: one block, or blocks below an XBLOCK or XXBLOCK. Keeps one list of children
/// in memory, not the data. Raises CFormatError on anything that breaks the format. [MS-PST] 2.2.2.8.3.2
class CDataTreeReader final : public format::IBlockSequence {
public:
    /// A tree whose root is Bid 0 is empty. Reads the tree's index blocks, not its data. `database` must
    /// outlive the reader.
    CDataTreeReader(INodeDatabase& database, format::Bid root);

    std::uint64_t Size() const { return m_size; }  ///< bytes of data in all blocks

    std::size_t BlockCount() override { return m_blocks.size(); }
    /// Raises CFormatError instead of returning nullptr.
    format::SharedBytes BlockAt(std::size_t index) override;

    /// Reads up to `into.size()` bytes at `offset`; fewer at the end, 0 beyond it.
    std::size_t Read(std::uint64_t offset, std::span<std::byte> into);
    /// All bytes. REQUIRES: the caller has looked at Size().
    std::vector<std::byte> ReadAll();
    /// Visits the blocks in order until `visit` returns false.
    void VisitBlocks(const std::function<bool(std::span<const std::byte>)>& visit);

private:
    void AddTree(format::Bid bid, unsigned level);

    INodeDatabase& m_database;
    std::vector<format::Bid> m_blocks;
    std::uint64_t m_size = 0;
    std::size_t m_fullBlock = 0;  ///< bytes of every block but the last
};

/// Bytes of the data tree below `root`, 0 for Bid 0.
std::uint64_t DataTreeSize(INodeDatabase& database, format::Bid root);

}  // namespace pastille::component::pst
