#include "store/complete/VersionChoice.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <tuple>

namespace pastille::store::complete {
namespace {

constexpr std::uint64_t kNidEnd = std::uint64_t{1} << 32;
/// Copies of one page that are looked at.
constexpr unsigned kMostCopies = 64;
/// Walks through upper pages may look at so many pages for each that there is, so that pages that lead
/// nowhere do not cost more than that.
constexpr std::uint64_t kVisitsPerPage = 4;
constexpr std::size_t kVersionsBetweenAsking = 4096;

std::uint64_t KeyOf(const format::NodeEntry& entry)
{
    return entry.nid & 0xFFFFFFFF;
}

}  // namespace

CVersionChoice::CVersionChoice(CSourceFile& source, const format::VariantLayout& layout, CNodeIndex& nodes)
    : m_source(source), m_layout(layout), m_nodes(nodes), m_byBid(nodes.Pages().size())
{
    std::iota(m_byBid.begin(), m_byBid.end(), 0u);
    const auto pages = nodes.Pages();
    std::sort(m_byBid.begin(), m_byBid.end(), [pages](std::uint32_t left, std::uint32_t right) {
        return std::pair(pages[left].bid, left) < std::pair(pages[right].bid, right);
    });
    m_open.emplace(0, kNidEnd);
    m_visitsLeft = kVisitsPerPage * pages.size();
}

bool CVersionChoice::Decide(const std::optional<format::BlockReference>& root,
                            const std::function<bool()>& proceed)
{
    if (root) {
        m_damagedPages = 0;
        m_isBelowRoot = true;
        WalkReference(*root, std::nullopt, {0, kNidEnd, false});
        m_isBelowRoot = false;
    }
    std::size_t asked = 0;
    for (const std::uint32_t number : NewestFirst()) {
        if (m_open.empty())
            break;
        if (asked++ % kVersionsBetweenAsking == 0 && !proceed())
            return false;
        if (m_nodes.Pages()[number].level <= 1 || m_visitsLeft != 0)
            Walk(number, {0, kNidEnd, true});
    }
    return true;
}

/// By BID, since pages may have moved; of several the one that is sound, lies where the reference says, or
/// belongs where it lies.
std::optional<std::uint32_t> CVersionChoice::FindPage(const format::BlockReference& reference) const
{
    const auto pages = m_nodes.Pages();
    auto it = std::lower_bound(
        m_byBid.begin(), m_byBid.end(), reference.bid,
        [pages](std::uint32_t number, std::uint64_t wanted) { return pages[number].bid < wanted; });
    std::optional<std::uint32_t> best;
    const auto rank = [&](std::uint32_t number) {
        const NodePage& page = pages[number];
        return std::tuple(page.isSound, page.offset == reference.offset, page.isAtHome);
    };
    for (unsigned looked = 0; it != m_byBid.end() && pages[*it].bid == reference.bid && looked < kMostCopies;
         ++it, ++looked) {
        if (!best || rank(*it) > rank(*best))
            best = *it;
    }
    return best;
}

/// A page whose BID nothing vouches for comes last, however new it seems.
std::vector<std::uint32_t> CVersionChoice::NewestFirst() const
{
    std::vector<std::uint32_t> order = m_byBid;
    const auto pages = m_nodes.Pages();
    const auto age = [pages](std::uint32_t number) {
        const NodePage& page = pages[number];
        return std::tuple(!page.isSound && !page.isAtHome, ~page.bid, !page.isSound, !page.isAtHome, number);
    };
    std::sort(order.begin(), order.end(),
              [&age](std::uint32_t left, std::uint32_t right) { return age(left) < age(right); });
    return order;
}

std::optional<CVersionChoice::LoadedPage> CVersionChoice::Load(std::uint32_t page)
{
    LoadedPage loaded;
    loaded.bytes.resize(m_layout.pageSize);
    const std::uint64_t offset = m_nodes.Pages()[page].offset;
    m_source.Read(offset, loaded.bytes);
    const auto facts = RecognisePage(m_layout, format::CByteView(loaded.bytes), offset);
    if (!facts || !facts->IsNodePage())
        return std::nullopt;
    loaded.facts = *facts;
    return loaded;
}

/// Levels fall from page to page, so it ends; ranges of children do not overlap, so that in one walk no key
/// of a page leads to more than one visit, whoever shares the page.
void CVersionChoice::Walk(std::uint32_t page, const Reach& reach)
{
    m_visitsLeft -= m_visitsLeft != 0;
    const auto loaded = Load(page);
    if (!loaded)
        return;
    if (loaded->facts.level == 0)
        DecideByLeaf(*loaded, page, reach);
    else
        WalkChildren(*loaded, reach);
}

void CVersionChoice::WalkChildren(const LoadedPage& page, const Reach& reach)
{
    const auto [entries, isComplete] = ReadIndexEntries(m_layout, page.facts, format::CByteView(page.bytes));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const bool isFirst = i == 0;
        const bool isLast = i + 1 == entries.size();
        const std::uint64_t key = entries[i].key & 0xFFFFFFFF;
        Reach child{isFirst && !reach.isBounded ? reach.first : std::max(reach.first, key), reach.end,
                    !isComplete || (reach.isBounded && isLast)};
        if (!isLast)
            child.end = std::min(reach.end, entries[i + 1].key & 0xFFFFFFFF);
        if (child.first >= child.end || !IsOpen(child.first, child.end))
            continue;
        WalkReference(entries[i].child, page.facts.level - 1u, child);
    }
}

/// `level`: the one that the page must have.
void CVersionChoice::WalkReference(const format::BlockReference& reference, std::optional<unsigned> level,
                                   const Reach& reach)
{
    const auto number = FindPage(reference);
    const bool isThere = number && (!level || m_nodes.Pages()[*number].level == *level);
    if (m_isBelowRoot && (!isThere || !m_nodes.Pages()[*number].isSound))
        ++*m_damagedPages;
    if (isThere)
        Walk(*number, reach);
}

void CVersionChoice::DecideByLeaf(const LoadedPage& page, std::uint32_t number, Reach reach)
{
    const auto [entries, isComplete] = ReadNodeEntries(m_layout, page.facts, format::CByteView(page.bytes));
    if (reach.isBounded) {
        if (entries.empty())
            return;
        reach.first = std::max(reach.first, KeyOf(entries.front()));
        reach.end = std::min(reach.end, KeyOf(entries.back()) + 1);
    }
    for (const format::NodeEntry& entry : entries) {
        const std::uint64_t nid = KeyOf(entry);
        if (nid < reach.first || nid >= reach.end || !IsOpen(nid, nid + 1))
            continue;
        m_nodes.MarkLive({entry.bidData & ~std::uint64_t{1}, entry.bidSub & ~std::uint64_t{1},
                          static_cast<std::uint32_t>(nid), entry.nidParent, number, 0});
        if (!isComplete)
            Close(nid, nid + 1);
    }
    // An entry that cannot be read has not been deleted.
    if (isComplete)
        Close(reach.first, reach.end);
}

bool CVersionChoice::IsOpen(std::uint64_t first, std::uint64_t end) const
{
    const auto next = m_open.lower_bound(end);
    return first < end && next != m_open.begin() && std::prev(next)->second > first;
}

void CVersionChoice::Close(std::uint64_t first, std::uint64_t end)
{
    if (first >= end)
        return;
    auto it = m_open.upper_bound(first);
    if (it != m_open.begin())
        --it;
    while (it != m_open.end() && it->first < end) {
        const auto [openFirst, openEnd] = *it;
        if (openEnd <= first) {
            ++it;
            continue;
        }
        it = m_open.erase(it);
        if (openFirst < first)
            m_open.emplace(openFirst, first);
        if (openEnd > end)
            m_open.emplace(end, openEnd);
    }
}

}  // namespace pastille::store::complete
