#include "recovery/WorkList.h"

#include <utility>

namespace pastille::recovery {
namespace {

/// A block is found under its BID and under the one above it.
std::uint32_t BlockKey(std::uint32_t bid)
{
    return bid & ~1u;
}

}  // namespace

void CWorkList::Start(std::uint32_t bidData, std::uint32_t bidSub, std::uint64_t mostBytes)
{
    m_items.clear();
    m_entries.clear();
    m_items.push_back({.bidData = bidData, .bidSub = bidSub, .parent = 0, .depth = 0});
    m_subnodesLeft = kMostSubnodes;
    m_bytesLeft = mostBytes;
}

void CWorkList::AllowRun(std::uint64_t mostBytes, std::uint64_t mostSubnodes)
{
    m_runBytesLeft = mostBytes;
    m_runSubnodesLeft = mostSubnodes;
}

bool CWorkList::Enter(std::size_t parent, std::uint32_t bidData)
{
    if (m_items.size() >= kMostItems || m_items[parent].depth >= kDeepest)
        return false;
    for (std::size_t at = parent;; at = m_items[at].parent) {
        if (BlockKey(m_items[at].bidData) == BlockKey(bidData))
            return false;
        if (at == 0)
            break;
    }
    return ++m_entries[BlockKey(bidData)] <= kMostEntries;
}

void CWorkList::Add(std::size_t parent, std::uint32_t bidData, std::uint32_t bidSub,
                    std::u16string attachmentName)
{
    m_items.push_back({.bidData = bidData,
                       .bidSub = bidSub,
                       .parent = parent,
                       .depth = m_items[parent].depth + 1,
                       .attachmentName = std::move(attachmentName)});
}

bool CWorkList::SpendSubnode()
{
    if (m_subnodesLeft == 0 || m_runSubnodesLeft == 0)
        return false;
    --m_subnodesLeft;
    --m_runSubnodesLeft;
    return true;
}

bool CWorkList::SpendBytes(std::uint64_t bytes)
{
    if (bytes > m_bytesLeft || bytes > m_runBytesLeft)
        return false;
    m_bytesLeft -= bytes;
    m_runBytesLeft -= bytes;
    return true;
}

}  // namespace pastille::recovery
