#include "check/NdbTree.h"

#include <utility>

#include "format/Ids.h"

namespace pastille::check {
namespace {

/// Twenty entries a page: far more than any file holds.
constexpr unsigned kHighestLevel = 12;

}  // namespace

CTreeWalk::CTreeWalk(const NdbFile& file, format::PageType tree, std::vector<PageUse>& pages,
                     LeafVisitor onLeaf)
    : m_file(file), m_tree(tree), m_pages(pages), m_onLeaf(std::move(onLeaf))
{
}

bool CTreeWalk::Run(const format::BlockReference& root)
{
    return Visit(root, {});
}

bool CTreeWalk::CheckTrailer(const format::BlockReference& reference, format::CByteView bytes) const
{
    const std::string place = PagePlace(reference.offset);
    const auto checked = format::ParsePageTrailer(*m_file.layout, bytes, reference.offset);
    if (!checked || checked->trailer.type != m_tree) {
        const auto found = bytes.ReadOrZero<std::uint16_t>(m_file.layout->typeOffset);
        m_file.findings.Add(rules::kPageType, place, "ptype and ptypeRepeat " + Hex(found));
        return false;
    }
    if (checked->trailer.bid != reference.bid)
        m_file.findings.Add(rules::kPageBid, place, Instead(checked->trailer.bid, reference.bid));
    else if ((checked->faults & format::kPageBadSignature) != 0)
        m_file.findings.Add(rules::kPageSignature, place, Hex(checked->trailer.signature));
    else if ((checked->faults & format::kPageBadCrc) != 0)
        m_file.findings.Add(rules::kPageCrc, place, Hex(checked->trailer.crc));
    else
        return true;
    return false;
}

bool CTreeWalk::ReadPage(const format::BlockReference& reference, std::vector<std::byte>& bytes)
{
    const std::size_t size = m_file.layout->pageSize;
    if (reference.offset % size != 0 || !m_file.Holds(reference.offset, size)) {
        m_file.findings.Add(rules::kPagePlace, PagePlace(reference.offset), "BID " + Hex(reference.bid));
        return false;
    }
    if (!m_seen.insert(reference.offset).second) {
        m_file.findings.Add(rules::kPageShared, PagePlace(reference.offset), "BID " + Hex(reference.bid));
        return false;
    }
    m_pages.push_back({reference.offset, reference.bid, m_tree});
    bytes.resize(size);
    if (!m_file.Read(reference.offset, bytes)) {
        m_file.findings.Add(rules::kPageUnreadable, PagePlace(reference.offset));
        return false;
    }
    return CheckTrailer(reference, format::CByteView(bytes));
}

void CTreeWalk::CheckCounts(const format::CTreePage& page, std::uint64_t offset) const
{
    const std::size_t entrySize = format::TreeEntrySize(*m_file.layout, m_tree, page.Level());
    const std::size_t capacity = format::TreePageCapacity(*m_file.layout, entrySize);
    // What pages of 4 KB have as their maximum is not known.
    const bool isMaximumRight =
        m_file.Is4k() ? page.MaximumCount() <= capacity : page.MaximumCount() == capacity;
    if (page.Count() == 0 || page.Count() > page.MaximumCount() || !isMaximumRight ||
        page.EntrySize() != entrySize)
        m_file.findings.Add(rules::kPageCounts, PagePlace(offset),
                            "cEnt " + std::to_string(page.Count()) + ", cEntMax " +
                                std::to_string(page.MaximumCount()) + ", cbEnt " +
                                std::to_string(page.EntrySize()));
}

void CTreeWalk::CheckKeys(const format::CTreePage& page, std::uint64_t offset, const Expected& expected)
{
    if (expected.key && page.KeyAt(0) != *expected.key)
        m_file.findings.Add(rules::kPageKey, PagePlace(offset), Instead(page.KeyAt(0), *expected.key));
    std::optional<std::uint64_t> last = page.Level() == 0 ? m_lastKey : std::nullopt;
    bool isNoted = false;
    for (std::size_t i = 0; i < page.Count(); ++i) {
        const std::uint64_t key = page.KeyAt(i);
        const bool isWideNid = m_tree == format::PageType::NodeTree &&
                               ((page.Level() == 0 ? page.NodeAt(i).nid : page.ChildAt(i).key) >> 32) != 0;
        if (isWideNid)
            m_file.findings.Add(rules::kNodeKey, PagePlace(offset), "entry " + std::to_string(i));
        if (last && key <= *last && !std::exchange(isNoted, true))
            m_file.findings.Add(rules::kPageOrder, PagePlace(offset), Hex(key) + " behind " + Hex(*last));
        last = key;
    }
    if (page.Level() == 0)
        m_lastKey = last;
}

bool CTreeWalk::Visit(const format::BlockReference& reference, const Expected& expected)
{
    const auto leaveOut = [this] {
        m_isComplete = false;
        return false;
    };
    std::vector<std::byte> bytes;
    if (!ReadPage(reference, bytes))
        return leaveOut();
    const auto page = format::CTreePage::Parse(*m_file.layout, format::CByteView(bytes));
    if (!page) {
        m_file.findings.Add(rules::kPageCounts, PagePlace(reference.offset),
                            std::string(page.GetFault().field) + ' ' + Hex(page.GetFault().value));
        return leaveOut();
    }
    if (page->Level() > kHighestLevel || (expected.level && page->Level() != *expected.level)) {
        m_file.findings.Add(rules::kPageLevel, PagePlace(reference.offset),
                            expected.level ? Instead(page->Level(), *expected.level) : Hex(page->Level()));
        return leaveOut();
    }
    CheckCounts(*page, reference.offset);
    if (page->Count() == 0)
        return true;
    if (page->EntrySize() != format::TreeEntrySize(*m_file.layout, m_tree, page->Level()))
        return leaveOut();
    CheckKeys(*page, reference.offset, expected);
    if (page->Level() == 0) {
        m_onLeaf(*page);
        return true;
    }
    for (std::size_t i = 0; i < page->Count(); ++i)
        Visit(page->ChildAt(i).child, {page->Level() - 1, page->KeyAt(i)});
    return true;
}

}  // namespace pastille::check
