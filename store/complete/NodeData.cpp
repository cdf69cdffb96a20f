#include "store/complete/NodeData.h"

#include <algorithm>

#include "format/Block.h"
#include "format/Ids.h"

namespace pastille::store::complete {

using Reason = SourceFault::Reason;

CNodeData::CNodeData(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome)
    : m_blocks(blocks), m_isAtHome(isAtHome), m_bid(bid)
{
    if (format::Bid{bid}.IsInternal() && bid != 0) {
        m_leaves = blocks.Leaves(bid, isAtHome);
        m_fault = m_leaves->fault;
        return;
    }
    DataLeaves leaves;
    if (bid != 0)
        leaves.bids.push_back(bid);
    m_leaves = std::make_shared<const DataLeaves>(leaves);
    const auto bytes = BlockAt(0);
    m_isLost = bid != 0 && !bytes;
    const bool mayBePacked = blocks.Layout().variant == format::Variant::Unicode4k;
    leaves.size = bytes ? bytes->size() : mayBePacked ? 0 : m_leaf.storedSize;
    leaves.known = m_leaf.storedSize;
    m_leaves = std::make_shared<const DataLeaves>(std::move(leaves));
}

format::SharedBytes CNodeData::BlockAt(std::size_t index)
{
    m_leaf = {};
    if (index >= BlockCount())
        return nullptr;
    const std::uint64_t bid = m_leaves->bids[index];
    if (bid == 0)
        m_leaf.fault = m_fault ? *m_fault : SourceFault{Reason::BlockMissing, 0, std::nullopt};
    else
        m_leaf = m_blocks.Read(bid, m_isAtHome);
    NoteFirst(m_fault, m_leaf.fault);
    return m_leaf.bytes;
}

std::size_t CNodeStream::Read(std::span<std::byte> into)
{
    while (m_at == m_end && m_zeros == 0) {
        if (!NextLeaf())
            return 0;
    }
    if (m_zeros != 0) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), m_zeros));
        std::ranges::fill(into.first(count), std::byte{0});
        m_zeros -= count;
        return count;
    }
    const std::size_t count = std::min(into.size(), m_end - m_at);
    std::copy_n(m_bytes->begin() + static_cast<std::ptrdiff_t>(m_at), count, into.begin());
    m_at += count;
    return count;
}

bool CNodeStream::NextLeaf()
{
    if (m_next == m_data.BlockCount())
        return m_left == 0 ? false : End(Reason::Structure);
    const bool isLast = m_next + 1 == m_data.BlockCount();
    m_bytes = m_data.BlockAt(m_next++);
    m_at = m_end = 0;
    const std::uint64_t stored = m_data.Leaf().storedSize;
    if (std::max<std::uint64_t>(stored, 1) > m_storedLeft)
        return End(Reason::Limit);
    m_storedLeft -= std::max<std::uint64_t>(stored, 1);
    m_known -= std::min(m_known, stored);
    if (m_bytes) {
        m_end = static_cast<std::size_t>(std::min<std::uint64_t>(m_left, m_bytes->size()));
        m_left -= m_end;
        m_full = isLast ? m_full : m_bytes->size();
        if (m_end == m_bytes->size())
            return true;
        End(Reason::Structure);
        return m_end != 0;
    }
    const std::uint64_t hole = HoleSize(isLast);
    m_left -= hole;
    m_zeros = m_holes == Holes::Zeros ? hole : 0;
    return true;
}

/// What the missing leaf held, as far as the leaves to come leave room for it.
std::uint64_t CNodeStream::HoleSize(bool isLast) const
{
    const format::VariantLayout& layout = m_data.m_blocks.Layout();
    const std::uint64_t room = m_left - std::min(m_left, m_known);
    const std::uint32_t stored = m_data.Leaf().storedSize;
    if (stored != 0 && layout.variant != format::Variant::Unicode4k)
        return std::min<std::uint64_t>(room, stored);
    // Blocks are cut where they are full, so only the last one can be shorter.
    const std::uint64_t full = m_full != 0 ? m_full : layout.largestBlock;
    return isLast ? room : std::min(room, full);
}

bool CNodeStream::End(Reason fault)
{
    NoteFirst(m_data.m_fault, SourceFault{fault, m_data.m_bid, std::nullopt});
    m_next = m_data.BlockCount();
    m_left = 0;
    return false;
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
    ++m_looked;
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
        ++m_looked;
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
