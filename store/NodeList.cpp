#include "store/NodeList.h"

#include <algorithm>

namespace pastille::store {

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
    m_records.clear();
    m_records.shrink_to_fit();
}

}  // namespace pastille::store
