#include "store/NodeList.h"

#include <algorithm>

namespace pastille::store {
namespace {

constexpr std::uint32_t kPageMask = 0x7FFFFFFF;

}  // namespace

void CNodeList::AddPage(std::uint64_t offset, std::uint32_t bid)
{
    m_pages.push_back({static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(offset >> 32), bid});
}

void CNodeList::Append(std::uint32_t nid, std::uint32_t bidData, std::uint32_t bidSub,
                       std::uint32_t nidParent)
{
    const auto page = static_cast<std::uint32_t>(m_pages.size() - 1);
    m_records.push_back({nid, bidData, bidSub, nidParent, page & kPageMask});
}

void CNodeList::Append(const CNodeList& other)
{
    const auto firstPage = static_cast<std::uint32_t>(m_pages.size());
    m_pages.insert(m_pages.end(), other.m_pages.begin(), other.m_pages.end());
    for (NodeRecord record : other.m_records) {
        record.page = (record.page + firstPage) & kPageMask;
        m_records.push_back(record);
    }
}

void CNodeList::Finish()
{
    std::stable_sort(m_records.begin(), m_records.end(), [](const NodeRecord& left, const NodeRecord& right) {
        return left.bidSub < right.bidSub;
    });
    const auto repeats = [](const NodeRecord& left, const NodeRecord& right) { return left.SameNode(right); };
    m_records.erase(std::unique(m_records.begin(), m_records.end(), repeats), m_records.end());
}

void CNodeList::Clear()
{
    std::vector<NodeRecord>().swap(m_records);
    std::vector<NodePage>().swap(m_pages);
}

}  // namespace pastille::store
