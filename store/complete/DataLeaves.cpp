#include "store/complete/DataLeaves.h"

#include <algorithm>

#include "format/Block.h"
#include "format/Ids.h"

namespace pastille::store::complete {
namespace {

using Reason = SourceFault::Reason;

/// More leaves than both levels of a tree have.
constexpr std::size_t kMostLeaves = 1'100'000;
/// More leaves of one tree than these may be lost only when as many are there.
constexpr std::size_t kMostLost = 65'536;

/// The least that a packed block of that size holds: what does not pack grows a little. [RFC 1951]
std::uint64_t LeastInflated(std::uint64_t stored)
{
    constexpr std::uint64_t kFrame = 64, kGrowth = 1024;
    const std::uint64_t overhead = kFrame + stored / kGrowth;
    return stored - std::min(stored, overhead);
}

class CTreeWalk {
public:
    CTreeWalk(CSourceBlocks& blocks, bool isAtHome, std::uint64_t& left)
        : m_blocks(blocks),
          m_isAtHome(isAtHome),
          m_left(left),
          m_mostLeaves(std::min(kMostLeaves, 2 * blocks.Count() + kMostLost))
    {
    }

    DataLeaves Run(std::uint64_t bid)
    {
        AddTree(bid, 2);
        if (m_isCut) {
            NoteFirst(m_leaves.fault, SourceFault{Reason::Limit, bid, std::nullopt});
            if (m_left == 0)
                return {{}, 0, 0, m_leaves.fault};
        }
        SetSize(bid);
        return std::move(m_leaves);
    }

private:
    void AddTree(std::uint64_t bid, unsigned level);
    void AddMissing(const SourceFault& fault, unsigned level);
    void AddLeaf(std::uint64_t bid);
    bool Spend();
    void SetSize(std::uint64_t bid);

    CSourceBlocks& m_blocks;
    bool m_isAtHome;
    std::uint64_t& m_left;
    std::size_t m_mostLeaves;
    bool m_isCut = false;
    std::uint64_t m_stated = 0;
    DataLeaves m_leaves;
};

bool CTreeWalk::Spend()
{
    if (m_left == 0 || m_leaves.bids.size() == m_mostLeaves)
        m_isCut = true;
    else
        --m_left;
    return !m_isCut;
}

/// 0 for one that is not known.
void CTreeWalk::AddLeaf(std::uint64_t bid)
{
    if (Spend())
        m_leaves.bids.push_back(bid);
}

void CTreeWalk::AddTree(std::uint64_t bid, unsigned level)
{
    if (!Spend())
        return;
    const SourceBlock block = m_blocks.Read(bid, m_isAtHome);
    NoteFirst(m_leaves.fault, block.fault);
    const SourceFault structure{Reason::Structure, bid, std::nullopt};
    if (!block.bytes) {
        AddMissing(block.fault.value_or(structure), level);
        return;
    }
    const auto tree = format::CDataTreeBlock::Parse(m_blocks.Layout(), format::CByteView(*block.bytes));
    if (!tree || tree->Level() > level) {
        AddMissing(structure, level);
        return;
    }
    if (level == 2)
        m_stated = tree->TotalSize();
    for (std::size_t i = 0; i < tree->Count() && !m_isCut; ++i) {
        const std::uint64_t child = tree->ChildAt(i);
        if (tree->Level() == 2)
            AddTree(child, 1);
        else if (format::Bid{child}.IsInternal())
            AddMissing(structure, 0);
        else
            AddLeaf(child);
    }
}

/// What is lost below a tree block inside a tree is a whole block's worth of leaves.
void CTreeWalk::AddMissing(const SourceFault& fault, unsigned level)
{
    NoteFirst(m_leaves.fault, fault);
    if (level == 2)
        return;  // of the whole tree nothing is known
    const std::size_t count = level == 0 ? 1 : format::DataTreeCapacity(m_blocks.Layout());
    for (std::size_t i = 0; i < count && !m_isCut; ++i)
        AddLeaf(0);
}

/// The stated size counts where the leaves can have it. Else they count: of a packed block what packing can
/// at worst have been made of, of others the stored size.
void CTreeWalk::SetSize(std::uint64_t bid)
{
    const format::VariantLayout& layout = m_blocks.Layout();
    const bool mayBePacked = layout.variant == format::Variant::Unicode4k;
    std::uint64_t lost = 0;
    for (const std::uint64_t leaf : m_leaves.bids) {
        const auto stored = m_blocks.StoredSize(leaf, m_isAtHome);
        m_leaves.known += mayBePacked ? LeastInflated(stored.value_or(0)) : stored.value_or(0);
        lost += stored ? 0 : 1;
    }
    const std::uint64_t full = layout.largestBlock;
    const std::uint64_t most = mayBePacked ? m_leaves.bids.size() * full : m_leaves.known + lost * full;
    const bool isPossible = m_leaves.known <= m_stated && m_stated <= most;
    if (mayBePacked)
        m_leaves.size = isPossible ? m_stated : most;
    else
        m_leaves.size =
            std::min(std::clamp(m_stated, m_leaves.known, most), m_blocks.FileSize() + lost * full);
    if (!isPossible)
        NoteFirst(m_leaves.fault, SourceFault{Reason::Structure, bid, std::nullopt});
}

}  // namespace

DataLeaves ReadDataLeaves(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome, std::uint64_t& left)
{
    return CTreeWalk(blocks, isAtHome, left).Run(bid);
}

}  // namespace pastille::store::complete
