#include "check/MessagingRun.h"

#include <algorithm>
#include <utility>

#include "check/LtpRules.h"
#include "check/MessagingRules.h"
#include "format/Ids.h"

namespace pastille::check {

std::string Place::Text(const std::string& detail) const
{
    std::vector<const Place*> path;
    for (const Place* place = this; place != nullptr; place = place->owner)
        path.push_back(place);
    std::string text = "node " + Hex(path.back()->nid);
    for (std::size_t i = path.size() - 1; i-- > 0;)
        text += ", subnode " + Hex(path[i]->nid);
    return detail.empty() ? text : text + ", " + detail;
}

bool CMessagingRun::IsFirstVisit(std::uint64_t bid)
{
    return !format::Bid{bid}.IsInternal() || m_visited.insert(format::Bid{bid}.Key()).second;
}

std::optional<std::uint64_t> CMessagingRun::DataSize(std::uint64_t bid)
{
    if (bid == 0)
        return 0;
    const bool isTree = format::Bid{bid}.IsInternal();
    if (const auto known = m_treeSizes.find(bid); isTree && known != m_treeSizes.end())
        return known->second;
    const auto tree = m_database.OpenData(bid);
    if (!tree)
        return std::nullopt;
    if (isTree)
        m_treeSizes.emplace(bid, tree->Size());
    return tree->Size();
}

void CMessagingRun::CheckRowVersions()
{
    const std::uint32_t unique = m_database.Header().unique;
    std::ranges::sort(m_rowVersions);
    std::size_t repeated = 0;
    for (std::size_t i = 1; i < m_rowVersions.size(); ++i)
        repeated += m_rowVersions[i] == m_rowVersions[i - 1] ? 1 : 0;
    if (repeated != 0)
        m_findings.Add(rules::kTableRowVersion, "tables", std::to_string(repeated) + " repeated");
    if (!m_rowVersions.empty() && m_rowVersions.back() >= unique)
        m_findings.Add(rules::kTableRowVersion, "tables",
                       Hex(m_rowVersions.back()) + " with dwUnique " + Hex(unique));
    m_rowVersions.clear();
}

bool CMessagingRun::TakeValueBytes(std::uint64_t count)
{
    const std::uint64_t most = 8 * m_database.Header().fileSize + (std::uint64_t{64} << 20);
    m_valueBytes += count;
    if (m_valueBytes <= most)
        return true;
    if (!std::exchange(m_isBudgetNoted, true))
        m_findings.Add(rules::kValuesShared, "store");
    return false;
}

}  // namespace pastille::check
