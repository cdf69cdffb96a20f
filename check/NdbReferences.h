#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <unordered_set>
#include <vector>

#include "check/Database.h"
#include "check/NdbFile.h"
#include "format/Block.h"

namespace pastille::check {

/// Highest index in use of each kind of node, subnodes included.
using NodeIndexes = std::array<std::uint32_t, 32>;

/// Follows every reference to a block once: from nodes, data trees and subnode trees. Looks into each
/// internal block, whether a node leads to it or not, as cRef counts them all.
/// [MS-PST] 2.2.2.7.7.3, 2.2.2.8.3
class CReferenceCheck {
public:
    using BlockReader = std::function<format::SharedBytes(std::uint64_t bid)>;

    CReferenceCheck(const NdbFile& file, CBlockTable& blocks, BlockReader read);

    /// `isWhole`: both trees could be read to the last page, so that what nothing refers to is really unused.
    void Run(std::span<const CDatabase::Node> nodes, bool isWhole);
    /// Of all nodes and subnodes. REQUIRES: Run was called.
    const NodeIndexes& Indexes() const { return m_indexes; }

private:
    void Classify(BlockRecord& block);
    void CheckDataTree(BlockRecord& block);
    void CheckDataTreeRoot(const BlockRecord& block);
    void CheckSubnodeLeaf(const BlockRecord& block);
    void CheckSubnodeIndex(const BlockRecord& block);
    void FindCycles();
    void CompareCounts(bool isWhole);

    template <class Visit>
    void VisitOf(BlockRecord::Kind kind, Visit visit);
    template <class View, class Check>
    void Parsed(const BlockRecord& block, Check check);
    /// Counts a reference. nullptr when there is no such block.
    BlockRecord* Count(const std::string& from, std::uint64_t bid);
    void CountData(const std::string& from, std::uint64_t bid);
    void CountSubnodes(const std::string& from, std::uint64_t bid);
    void NoteKind(const std::string& from, std::uint64_t bid);
    void NoteIndex(std::uint32_t nid);
    std::vector<std::uint32_t> SubnodeBlocksBelow(const BlockRecord& block);

    const NdbFile& m_file;
    CBlockTable& m_blocks;
    BlockReader m_read;
    std::unordered_set<std::uint64_t> m_missing;
    NodeIndexes m_indexes{};
    bool m_isWhole = true;  ///< all that refers to blocks could be read
    bool m_hasAllBlocks = true;
};

}  // namespace pastille::check
