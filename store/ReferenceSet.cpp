#include "store/ReferenceSet.h"

#include <algorithm>

namespace pastille::store {

void CReferenceSet::Build(const CNodeList& nodes)
{
    m_bids.clear();
    for (const NodeRecord& node : nodes) {
        if (node.bidSub != 0)
            m_bids.insert(m_bids.end(), {node.bidData, node.bidSub});
    }
    std::ranges::sort(m_bids);
    m_bids.erase(std::unique(m_bids.begin(), m_bids.end()), m_bids.end());
}

bool CReferenceSet::Contains(std::uint32_t bid) const
{
    return bid == 0 || std::ranges::binary_search(m_bids, bid);
}

}  // namespace pastille::store
