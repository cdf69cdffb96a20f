#include "format/NamedPropertyMap.h"

#include <algorithm>
#include <utility>

namespace pastille::format {

void CNamedPropertyMap::Clear()
{
    *this = CNamedPropertyMap();
}

void CNamedPropertyMap::AddGroup(Group group)
{
    m_groups.push_back(std::move(group));
}

bool CNamedPropertyMap::AddPair(std::uint32_t lid, std::uint32_t propertyId)
{
    if (m_groups.empty())
        m_groups.emplace_back();
    const auto group = std::ranges::find(m_groups, 0, &Group::key);
    if (group == m_groups.end() || m_lids.contains(lid) || !m_lidByProperty.emplace(propertyId, lid).second)
        return false;
    m_lids.insert(lid);
    group->pairs.push_back({lid, propertyId});
    return true;
}

std::optional<std::uint32_t> CNamedPropertyMap::FindLid(std::uint32_t propertyId) const
{
    const auto found = m_lidByProperty.find(propertyId);
    return found == m_lidByProperty.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace pastille::format
