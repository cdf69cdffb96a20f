#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "format/Heap.h"
#include "platform/FileSystem.h"
#include "store/complete/DataLeaves.h"
#include "store/complete/SourceBlocks.h"

namespace pastille::store::complete {

/// The data blocks behind a BID: the block itself, or the leaves of its tree. Blocks that are not there keep
/// their place. [MS-PST] 2.2.2.8.3.2
class CNodeData final : public format::IBlockSequence {
public:
    /// Reads the tree, not the leaves. `blocks` must outlive this object.
    CNodeData(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome);

    std::size_t BlockCount() override { return m_leaves->bids.size(); }
    format::SharedBytes BlockAt(std::size_t index) override;

    /// Data bytes: as the tree states them where its leaves can have as many, else the most that they can; of
    /// an only block what it has, or had where its stored size tells. A stream never gives more.
    std::uint64_t Size() const { return m_leaves->size; }
    /// True when all that there is of it is one block, and that cannot be read.
    bool IsLost() const { return m_isLost; }
    /// The first fault met so far, in the tree or in the leaves that were read.
    const std::optional<SourceFault>& Fault() const { return m_fault; }
    /// Of the leaf read last.
    const SourceBlock& Leaf() const { return m_leaf; }

private:
    friend class CNodeStream;
    CSourceBlocks& m_blocks;
    bool m_isAtHome;
    std::uint64_t m_bid;
    std::shared_ptr<const DataLeaves> m_leaves;
    SourceBlock m_leaf;
    bool m_isLost = false;
    std::optional<SourceFault> m_fault;
};

/// The bytes behind a BID, front to back. Where a block is missing there are zeros, as many as it held, or
/// nothing; the stream ends at Size() of the data and at what the file's size allows. Where it gives less or
/// would have given more there is a fault.
class CNodeStream final : public platform::IByteStream {
public:
    enum class Holes : std::uint8_t { Zeros, LeftOut };
    /// `data` must outlive the stream.
    explicit CNodeStream(CNodeData& data, Holes holes = Holes::Zeros)
        : m_data(data),
          m_holes(holes),
          m_storedLeft(data.m_blocks.FileSize()),
          m_left(data.Size()),
          m_known(data.m_leaves->known)
    {
    }
    std::size_t Read(std::span<std::byte> into) override;

private:
    bool NextLeaf();
    std::uint64_t HoleSize(bool isLast) const;
    bool End(SourceFault::Reason fault);

    CNodeData& m_data;
    Holes m_holes;
    std::size_t m_next = 0;
    std::uint64_t m_storedLeft;  ///< bytes of leaves in the file: a tree may name a block any number of times
    std::uint64_t m_left;        ///< of Size(), not given yet
    std::uint64_t m_known;       ///< stored bytes of the leaves to come that the file has
    format::SharedBytes m_bytes;
    std::size_t m_at = 0;
    std::size_t m_end = 0;
    std::uint64_t m_zeros = 0;
    std::uint64_t m_full = 0;  ///< bytes of the leaf read last, when it is not the tree's last; 0: none was
};

/// One entry of a subnode tree.
struct Subnode {
    std::uint32_t nid;
    NodeReference reference;
};

/// The subnodes directly below a node. [MS-PST] 2.2.2.8.3.3
class CSubnodes {
public:
    static constexpr std::size_t kMostSubnodes = 700'000;

    CSubnodes() = default;
    CSubnodes(CSourceBlocks& blocks, std::uint64_t bidSub, bool isAtHome);

    /// By rising NID; each NID once, as it stands first.
    std::span<const Subnode> All() const { return m_entries; }
    const Subnode* Find(std::uint32_t nid) const;
    /// Of the tree's own blocks.
    const std::optional<SourceFault>& Fault() const { return m_fault; }
    /// What it took to read them: blocks and entries.
    std::size_t Looked() const { return m_looked; }

private:
    void AddLeaf(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome, bool mayBeIndex);

    std::vector<Subnode> m_entries;
    std::size_t m_looked = 0;
    std::optional<SourceFault> m_fault;
};

}  // namespace pastille::store::complete
