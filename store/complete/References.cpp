#include "store/complete/References.h"

#include <algorithm>

#include "format/Block.h"
#include "format/Ids.h"

namespace pastille::store::complete {

void CReferences::Mark(const NodeReference& object)
{
    for (const std::uint64_t bid : {object.bidData, object.bidSub}) {
        if (MarkBlock(bid))
            m_pending.push_back({bid, object.isAtHome});
    }
    Finish();
}

void CReferences::MarkBelow(std::uint64_t bidSub, bool isAtHome)
{
    MarkChildren({bidSub, isAtHome});
    Finish();
}

void CReferences::Finish()
{
    while (!m_pending.empty()) {
        const Pending block = m_pending.back();
        m_pending.pop_back();
        MarkChildren(block);
    }
}

bool CReferences::MarkBlock(std::uint64_t bid)
{
    const std::uint64_t key = format::Bid{bid}.Key();
    const auto records = m_index.Records();
    bool isNew = false;
    for (auto at = std::ranges::lower_bound(records, key, {}, &BlockRecord::Bid);
         at != records.end() && at->Bid() == key; ++at) {
        const auto place = static_cast<std::size_t>(at - records.begin());
        isNew = isNew || !m_marks[place];
        m_marks[place] = true;
    }
    return isNew;
}

bool CReferences::IsMarkedBid(std::uint64_t bid) const
{
    const std::uint64_t key = format::Bid{bid}.Key();
    const auto records = m_index.Records();
    const auto at = std::ranges::lower_bound(records, key, {}, &BlockRecord::Bid);
    return at != records.end() && at->Bid() == key && m_marks[static_cast<std::size_t>(at - records.begin())];
}

void CReferences::MarkChildren(const Pending& block)
{
    if (!format::Bid{block.bid}.IsInternal())
        return;
    const SourceBlock read = m_blocks.Read(block.bid, block.isAtHome);
    if (!read.bytes)
        return;
    const format::CByteView bytes(*read.bytes);
    const auto mark = [&](std::uint64_t bid) {
        if (MarkBlock(bid))
            m_pending.push_back({bid, block.isAtHome});
    };
    if (const auto tree = format::CDataTreeBlock::Parse(m_blocks.Layout(), bytes)) {
        // Of the leaves the first alone could be taken for an object of its own.
        const std::size_t count =
            tree->Level() == 1 ? std::min<std::size_t>(1, tree->Count()) : tree->Count();
        for (std::size_t i = 0; i < count; ++i)
            mark(tree->ChildAt(i));
    } else if (const auto subnodes = format::CSubnodeBlock::Parse(m_blocks.Layout(), bytes)) {
        for (std::size_t i = 0; i < subnodes->Count(); ++i) {
            if (subnodes->Level() != 0) {
                mark(subnodes->ChildAt(i).bid);
                continue;
            }
            const format::SubnodeLeafEntry entry = subnodes->LeafAt(i);
            mark(entry.bidData);
            mark(entry.bidSub);
        }
    }
}

}  // namespace pastille::store::complete
