#include "store/complete/NodeIndex.h"

#include <algorithm>
#include <tuple>

namespace pastille::store::complete {
namespace {

constexpr std::size_t kFirstCapacity = 4096;

auto ValueOf(const NodeVersion& version)
{
    return std::tuple(version.nid, version.bidData, version.bidSub, version.parent);
}

}  // namespace

std::uint32_t CNodeIndex::AddPage(const NodePage& page)
{
    m_pages.push_back(page);
    return static_cast<std::uint32_t>(m_pages.size() - 1);
}

/// Sound pages before others, of them the newest first.
std::tuple<bool, std::uint64_t, std::uint32_t> CNodeIndex::RankOf(const NodeVersion& version) const
{
    const NodePage& page = PageOf(version);
    return {!page.isSound, ~page.bid, version.page};
}

void CNodeIndex::Append(const NodeVersion& version)
{
    if (m_versions.size() == m_versions.capacity()) {
        Finish();
        // Where repeats are few, sorting again for each few entries would not end.
        if (m_versions.size() > m_versions.capacity() / 4 * 3)
            m_versions.reserve(std::max<std::size_t>(kFirstCapacity, m_versions.capacity() / 2 * 3));
    }
    m_versions.push_back(version);
}

void CNodeIndex::Finish()
{
    // First the repeats come together, each with the best page before the others.
    const auto byValue = [this](const NodeVersion& left, const NodeVersion& right) {
        return std::tuple_cat(ValueOf(left), std::tuple(left.isLive == 0, RankOf(left))) <
               std::tuple_cat(ValueOf(right), std::tuple(right.isLive == 0, RankOf(right)));
    };
    std::sort(m_versions.begin(), m_versions.end(), byValue);
    const auto repeats = [](const NodeVersion& left, const NodeVersion& right) {
        return ValueOf(left) == ValueOf(right);
    };
    m_versions.erase(std::unique(m_versions.begin(), m_versions.end(), repeats), m_versions.end());
    const auto byRank = [this](const NodeVersion& left, const NodeVersion& right) {
        return std::tuple_cat(std::tuple(left.nid, left.isLive == 0, RankOf(left)), ValueOf(left)) <
               std::tuple_cat(std::tuple(right.nid, right.isLive == 0, RankOf(right)), ValueOf(right));
    };
    std::sort(m_versions.begin(), m_versions.end(), byRank);
}

void CNodeIndex::MarkLive(const NodeVersion& version)
{
    const auto versions = VersionsOf(version.nid);
    const auto isLive = [](const NodeVersion& known) { return known.isLive != 0; };
    if (std::any_of(versions.begin(), versions.end(), isLive))
        return;
    const auto known = std::find_if(
        versions.begin(), versions.end(),
        [&version](const NodeVersion& candidate) { return ValueOf(candidate) == ValueOf(version); });
    if (known != versions.end())
        m_versions[static_cast<std::size_t>(&*known - m_versions.data())].isLive = 1;
}

std::span<const NodeVersion> CNodeIndex::VersionsOf(std::uint32_t nid) const
{
    const auto first = std::lower_bound(
        m_versions.begin(), m_versions.end(), nid,
        [](const NodeVersion& version, std::uint32_t wanted) { return version.nid < wanted; });
    auto last = first;
    while (last != m_versions.end() && last->nid == nid)
        ++last;
    return {first, last};
}

}  // namespace pastille::store::complete
