#include "format/NamedPropertyMap.h"

#include <algorithm>
#include <utility>

namespace pastille::format {

void CNamedPropertyMap::Clear()
{
    m_groups.clear();
}

void CNamedPropertyMap::AddGroup(Group group)
{
    m_groups.push_back(std::move(group));
}

bool CNamedPropertyMap::AddPair(std::uint32_t lid, std::uint32_t propertyId)
{
    if (m_groups.empty())
        m_groups.emplace_back();
    const auto group =
        std::find_if(m_groups.begin(), m_groups.end(), [](const Group& g) { return g.key == 0; });
    if (group == m_groups.end())
        return false;
    const bool known = std::any_of(group->pairs.begin(), group->pairs.end(), [&](const Pair& pair) {
        return pair.lid == lid || pair.propertyId == propertyId;
    });
    if (known)
        return false;
    group->pairs.push_back({lid, propertyId});
    return true;
}

std::optional<std::uint32_t> CNamedPropertyMap::FindLid(std::uint32_t propertyId) const
{
    for (const Group& group : m_groups) {
        const auto pair = std::find_if(group.pairs.rbegin(), group.pairs.rend(),
                                       [&](const Pair& p) { return p.propertyId == propertyId; });
        if (pair != group.pairs.rend())
            return pair->lid;
    }
    return std::nullopt;
}

}  // namespace pastille::format
