#include "store/complete/NodeData.h"

#include <algorithm>

#include "format/Block.h"
#include "format/Ids.h"

namespace pastille::store::complete {

using Reason = SourceFault::Reason;

namespace {

/// More leaves than both levels of a tree have.
constexpr std::size_t kMostLeaves = 1'100'000;

}  // namespace

CNodeData::CNodeData(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome)
    : m_blocks(blocks), m_isAtHome(isAtHome)
{
    if (bid == 0)
        return;
    if (format::Bid{bid}.IsInternal()) {
        AddTree(bid, 2);
        m_size = std::min<std::uint64_t>(m_size, std::uint64_t{m_leaves.size()} * FullBlock());
        return;
    }
    m_leaves.push_back(bid);
    if (const auto bytes = BlockAt(0))
        m_size = bytes->size();
}

/// The most data bytes of a leaf.
std::size_t CNodeData::FullBlock() const
{
    return m_blocks.Layout().largestBlock;
}

void CNodeData::AddTree(std::uint64_t bid, unsigned level)
{
    const SourceBlock block = m_blocks.Read(bid, m_isAtHome);
    NoteFirst(m_fault, block.fault);
    if (!block.bytes) {
        AddMissing(block.fault, level);
        return;
    }
    const auto tree = format::CDataTreeBlock::Parse(m_blocks.Layout(), format::CByteView(*block.bytes));
    if (!tree || tree->Level() > level) {
        AddMissing(SourceFault{Reason::Structure, bid, std::nullopt}, level);
        return;
    }
    if (level == 2)
        m_size = tree->TotalSize();
    for (std::size_t i = 0; i < tree->Count() && m_leaves.size() < kMostLeaves; ++i) {
        const std::uint64_t child = tree->ChildAt(i);
        if (tree->Level() == 2)
            AddTree(child, 1);
        else if (format::Bid{child}.IsInternal())
            AddMissing(SourceFault{Reason::Structure, bid, std::nullopt}, 0);
        else
            m_leaves.push_back(child);
    }
}

/// What is lost below a tree block inside a tree is a whole block's worth of leaves.
void CNodeData::AddMissing(const std::optional<SourceFault>& fault, unsigned level)
{
    NoteFirst(m_fault, fault);
    if (level == 2)
        return;  // of the whole tree nothing is known
    const std::size_t count = level == 0 ? 1 : format::DataTreeCapacity(m_blocks.Layout());
    m_leaves.resize(std::min(m_leaves.size() + count, kMostLeaves));
}

format::SharedBytes CNodeData::BlockAt(std::size_t index)
{
    m_leaf = {};
    if (index >= m_leaves.size())
        return nullptr;
    if (m_leaves[index] == 0)
        m_leaf.fault = m_fault ? *m_fault : SourceFault{Reason::BlockMissing, 0, std::nullopt};
    else
        m_leaf = m_blocks.Read(m_leaves[index], m_isAtHome);
    NoteFirst(m_fault, m_leaf.fault);
    return m_leaf.bytes;
}

std::size_t CNodeStream::Read(std::span<std::byte> into)
{
    while (m_at == (m_bytes ? m_bytes->size() : 0) && m_zeros == 0) {
        if (!NextLeaf())
            return 0;
    }
    if (m_zeros != 0) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), m_zeros));
        std::ranges::fill(into.first(count), std::byte{0});
        m_zeros -= count;
        return count;
    }
    const std::size_t count = std::min(into.size(), m_bytes->size() - m_at);
    std::copy_n(m_bytes->begin() + static_cast<std::ptrdiff_t>(m_at), count, into.begin());
    m_at += count;
    return count;
}

bool CNodeStream::NextLeaf()
{
    if (m_next == m_data.BlockCount())
        return false;
    const bool isLast = m_next + 1 == m_data.BlockCount();
    m_bytes = m_data.BlockAt(m_next++);
    m_at = 0;
    const std::uint64_t stored = std::max<std::uint64_t>(m_data.Leaf().storedSize, 1);
    if (stored > m_storedLeft) {
        NoteFirst(m_data.m_fault, SourceFault{Reason::Limit, 0, std::nullopt});
        m_next = m_data.BlockCount();
        m_bytes = nullptr;
        return false;
    }
    m_storedLeft -= stored;
    if (m_bytes) {
        m_left -= std::min<std::uint64_t>(m_left, m_bytes->size());
        return true;
    }
    // Blocks are cut where they are full, so only the last one can be shorter.
    const std::uint64_t hole = isLast ? m_left : std::min<std::uint64_t>(m_left, m_data.FullBlock());
    m_left -= hole;
    m_zeros = m_holes == Holes::Zeros ? hole : 0;
    return true;
}

CSubnodes::CSubnodes(CSourceBlocks& blocks, std::uint64_t bidSub, bool isAtHome)
{
    if (bidSub == 0)
        return;
    AddLeaf(blocks, bidSub, isAtHome, true);
    const auto byNid = [](const Subnode& a, const Subnode& b) { return a.nid < b.nid; };
    std::stable_sort(m_entries.begin(), m_entries.end(), byNid);
    const auto same = [](const Subnode& a, const Subnode& b) { return a.nid == b.nid; };
    m_entries.erase(std::unique(m_entries.begin(), m_entries.end(), same), m_entries.end());
}

void CSubnodes::AddLeaf(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome, bool mayBeIndex)
{
    const SourceBlock block = blocks.Read(bid, isAtHome);
    NoteFirst(m_fault, block.fault);
    if (!block.bytes)
        return;
    const auto tree = format::CSubnodeBlock::Parse(blocks.Layout(), format::CByteView(*block.bytes));
    if (!tree || (tree->Level() != 0 && !mayBeIndex)) {
        NoteFirst(m_fault, SourceFault{Reason::Structure, bid, std::nullopt});
        return;
    }
    for (std::size_t i = 0; i < tree->Count(); ++i) {
        if (m_entries.size() == kMostSubnodes) {
            NoteFirst(m_fault, SourceFault{Reason::Limit, bid, std::nullopt});
            return;
        }
        if (tree->Level() != 0) {
            AddLeaf(blocks, tree->ChildAt(i).bid, isAtHome, false);
            continue;
        }
        const format::SubnodeLeafEntry entry = tree->LeafAt(i);
        m_entries.push_back({static_cast<std::uint32_t>(entry.nid), {entry.bidData, entry.bidSub, isAtHome}});
    }
}

const Subnode* CSubnodes::Find(std::uint32_t nid) const
{
    const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), nid,
                                     [](const Subnode& entry, std::uint32_t key) { return entry.nid < key; });
    return at != m_entries.end() && at->nid == nid ? &*at : nullptr;
}

}  // namespace pastille::store::complete
