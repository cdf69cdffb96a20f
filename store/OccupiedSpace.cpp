#include "store/OccupiedSpace.h"

#include <algorithm>

namespace pastille::store {

void COccupiedSpace::Add(std::uint64_t offset, std::uint64_t length)
{
    const Stretch added{offset, offset + length};
    if (!m_stretches.empty()) {
        Stretch& last = m_stretches.back();
        if (added.start <= last.end && added.end >= last.start) {
            last = {std::min(last.start, added.start), std::max(last.end, added.end)};
            return;
        }
    }
    m_stretches.push_back(added);
}

void COccupiedSpace::Add(const COccupiedSpace& other)
{
    m_stretches.insert(m_stretches.end(), other.m_stretches.begin(), other.m_stretches.end());
}

void COccupiedSpace::Finish()
{
    std::ranges::sort(m_stretches, {}, &Stretch::start);
    std::size_t kept = 0;
    for (const Stretch& stretch : m_stretches) {
        if (kept != 0 && stretch.start <= m_stretches[kept - 1].end)
            m_stretches[kept - 1].end = std::max(m_stretches[kept - 1].end, stretch.end);
        else
            m_stretches[kept++] = stretch;
    }
    m_stretches.resize(kept);
}

bool COccupiedSpace::Overlaps(std::uint64_t offset, std::uint64_t length) const
{
    const auto next = std::ranges::upper_bound(m_stretches, offset, {}, &Stretch::end);
    return next != m_stretches.end() && next->start < offset + length;
}

}  // namespace pastille::store
