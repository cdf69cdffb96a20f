#include "store/complete/BlockIndex.h"

#include <algorithm>
#include <tuple>

namespace pastille::store::complete {
namespace {

/// A file in which one BID stands over and over must not make each look-up a search.
constexpr std::size_t kMostOfOneBid = 64;

bool Precedes(const BlockRecord& left, const BlockRecord& right)
{
    const BlockPlace a = left.Place();
    const BlockPlace b = right.Place();
    return std::tuple(left.Bid(), a.offset, !a.isSound, !a.isAtHome, a.size) <
           std::tuple(right.Bid(), b.offset, !b.isSound, !b.isAtHome, b.size);
}

}  // namespace

void CBlockIndex::Finish()
{
    std::sort(m_records.begin(), m_records.end(), Precedes);
    std::size_t kept = 0;
    for (std::size_t i = 0, first = 0; i < m_records.size(); ++i) {
        const BlockRecord record = m_records[i];
        if (kept == 0 || m_records[kept - 1].Bid() != record.Bid())
            first = kept;
        const bool repeats = kept > first && m_records[kept - 1].Place().offset == record.Place().offset;
        if (!repeats && kept - first < kMostOfOneBid)
            m_records[kept++] = record;
    }
    m_records.erase(m_records.begin() + static_cast<std::ptrdiff_t>(kept), m_records.end());
}

std::optional<BlockPlace> CBlockIndex::Find(std::uint64_t bid, bool atHome) const
{
    bid &= ~std::uint64_t{1};
    const auto first = std::lower_bound(
        m_records.begin(), m_records.end(), bid,
        [](const BlockRecord& record, std::uint64_t wanted) { return record.Bid() < wanted; });
    std::optional<BlockPlace> best;
    const auto rank = [atHome](const BlockPlace& place) {
        return (place.isSound ? 2 : 0) + (place.isAtHome == atHome ? 1 : 0);
    };
    for (auto it = first; bid != 0 && it != m_records.end() && it->Bid() == bid; ++it) {
        if (const BlockPlace place = it->Place(); !best || rank(place) > rank(*best))
            best = place;
    }
    return best;
}

}  // namespace pastille::store::complete
