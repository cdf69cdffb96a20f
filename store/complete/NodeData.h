#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Heap.h"
#include "platform/FileSystem.h"
#include "store/complete/SourceBlocks.h"

namespace pastille::store::complete {

/// The data blocks behind a BID: the block itself, or the leaves of its tree. Blocks that are not there keep
/// their place. [MS-PST] 2.2.2.8.3.2
class CNodeData final : public format::IBlockSequence {
public:
    /// Reads the tree, not the leaves. `blocks` must outlive this object.
    CNodeData(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome);

    std::size_t BlockCount() override { return m_leaves.size(); }
    format::SharedBytes BlockAt(std::size_t index) override;

    /// Data bytes as the tree states them, or of its only block; more than the leaves can hold is cut.
    std::uint64_t Size() const { return m_size; }
    /// The first fault met so far, in the tree or in the leaves that were read.
    const std::optional<SourceFault>& Fault() const { return m_fault; }
    /// Of the leaf read last.
    const SourceBlock& Leaf() const { return m_leaf; }

private:
    friend class CNodeStream;
    /// Adds the leaves below a tree block.
    void AddTree(std::uint64_t bid, unsigned level);
    void AddMissing(const std::optional<SourceFault>& fault, unsigned level);
    std::size_t FullBlock() const;

    CSourceBlocks& m_blocks;
    bool m_isAtHome;
    std::vector<std::uint64_t> m_leaves;  ///< BIDs; 0: not known
    std::uint64_t m_size = 0;
    SourceBlock m_leaf;
    std::optional<SourceFault> m_fault;
};

/// The bytes behind a BID, front to back. Where a block is missing there are zeros, as many as it held, or
/// nothing; the stream ends at what the file's size allows.
class CNodeStream final : public platform::IByteStream {
public:
    enum class Holes : std::uint8_t { Zeros, LeftOut };
    /// `data` must outlive the stream.
    explicit CNodeStream(CNodeData& data, Holes holes = Holes::Zeros)
        : m_data(data), m_holes(holes), m_storedLeft(data.m_blocks.FileSize()), m_left(data.Size())
    {
    }
    std::size_t Read(std::span<std::byte> into) override;

private:
    bool NextLeaf();

    CNodeData& m_data;
    Holes m_holes;
    std::size_t m_next = 0;
    std::uint64_t m_storedLeft;  ///< bytes of leaves in the file: a tree may name a block any number of times
    std::uint64_t m_left;        ///< bytes that the tree states and that are not read yet
    format::SharedBytes m_bytes;
    std::size_t m_at = 0;
    std::uint64_t m_zeros = 0;
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

private:
    void AddLeaf(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome, bool mayBeIndex);

    std::vector<Subnode> m_entries;
    std::optional<SourceFault> m_fault;
};

}  // namespace pastille::store::complete
