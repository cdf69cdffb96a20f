#include "recovery/FolderList.h"

#include <algorithm>
#include <utility>

#include "format/Ids.h"
#include "platform/Text.h"

namespace pastille::recovery {
namespace {

constexpr std::u16string_view kImapFolderClass = u"IPF.Imap";
/// Longest path that is worth keeping, in characters.
constexpr std::size_t kShortPath = 400;

}  // namespace

void CFolderList::Clear()
{
    *this = CFolderList();
}

void CFolderList::Add(FolderRecord record)
{
    if (!m_index.emplace(record.nodeId, m_records.size()).second)
        return;
    if (record.containerClass.empty() || platform::EqualsNoCase(record.containerClass, kImapFolderClass))
        record.containerClass = kMailFolderClass;
    m_records.push_back(std::move(record));
}

void CFolderList::Arrange()
{
    std::erase_if(m_records, [](const FolderRecord& record) {
        return record.parentId == format::nids::kRootFolder.value;
    });
    std::ranges::sort(m_records, {}, &FolderRecord::nodeId);
    Reindex();
    LinkParents();
    CutCycles();
    Reorder(ParentsFirst());
    m_shortPaths.assign(m_records.size(), {});
}

void CFolderList::Reindex()
{
    m_index.clear();
    for (std::size_t i = 0; i < m_records.size(); ++i)
        m_index.emplace(m_records[i].nodeId, i);
}

void CFolderList::LinkParents()
{
    m_parents.assign(m_records.size(), kUnderRoot);
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        const std::uint32_t parentId = m_records[i].parentId;
        const auto parent = m_index.find(parentId);
        if (parent != m_index.end() && parent->second != i && m_rootId != parentId)
            m_parents[i] = parent->second;
    }
}

void CFolderList::CutCycles()
{
    // Each walk upward ends at a record that an earlier walk has passed, or closes a cycle of its own.
    std::vector<std::size_t> passedBy(m_records.size(), kUnderRoot);
    for (std::size_t start = 0; start < m_records.size(); ++start) {
        std::size_t at = start;
        while (at != kUnderRoot && passedBy[at] == kUnderRoot) {
            passedBy[at] = start;
            at = m_parents[at];
        }
        if (at == kUnderRoot || passedBy[at] != start)
            continue;
        std::size_t lowest = at;  // records stand in the order of their node ids
        for (std::size_t next = m_parents[at]; next != at; next = m_parents[next])
            lowest = std::min(lowest, next);
        m_parents[lowest] = kUnderRoot;
    }
}

std::vector<std::size_t> CFolderList::ParentsFirst()
{
    std::vector<std::size_t> firstChild(m_records.size(), kUnderRoot);
    std::vector<std::size_t> nextSibling(m_records.size(), kUnderRoot);
    std::vector<std::size_t> pending;
    for (std::size_t i = m_records.size(); i-- > 0;) {
        if (m_parents[i] == kUnderRoot) {
            pending.push_back(i);
            continue;
        }
        nextSibling[i] = firstChild[m_parents[i]];
        firstChild[m_parents[i]] = i;
    }

    struct Place {
        std::size_t depth = 0;
        std::size_t pathLength = 0;
    };
    std::vector<Place> places(m_records.size());
    std::vector<std::size_t> order;
    order.reserve(m_records.size());
    while (!pending.empty()) {
        const std::size_t at = pending.back();
        pending.pop_back();
        order.push_back(at);
        const Place above = m_parents[at] == kUnderRoot ? Place() : places[m_parents[at]];
        const std::size_t ownLength = m_records[at].name.size() + 1;
        places[at] = {above.depth + 1, above.pathLength + ownLength};
        if (places[at].depth > kDeepest || places[at].pathLength > kLongestPath) {
            m_parents[at] = kUnderRoot;
            places[at] = {1, ownLength};
        }
        const std::size_t firstPending = pending.size();
        for (std::size_t child = firstChild[at]; child != kUnderRoot; child = nextSibling[child])
            pending.push_back(child);
        std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(firstPending), pending.end());
    }
    return order;
}

void CFolderList::Reorder(const std::vector<std::size_t>& order)
{
    std::vector<std::size_t> newPlace(order.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        newPlace[order[i]] = i;
    std::vector<FolderRecord> records;
    std::vector<std::size_t> parents;
    records.reserve(order.size());
    parents.reserve(order.size());
    for (const std::size_t old : order) {
        records.push_back(std::move(m_records[old]));
        parents.push_back(m_parents[old] == kUnderRoot ? kUnderRoot : newPlace[m_parents[old]]);
    }
    m_records = std::move(records);
    m_parents = std::move(parents);
    Reindex();
}

const FolderRecord* CFolderList::Find(std::uint32_t nodeId) const
{
    const auto found = m_index.find(nodeId);
    return found == m_index.end() ? nullptr : &m_records[found->second];
}

const FolderRecord* CFolderList::ParentOf(std::uint32_t nodeId) const
{
    const auto found = m_index.find(nodeId);
    const std::size_t parent = found == m_index.end() ? kUnderRoot : m_parents[found->second];
    return parent == kUnderRoot ? nullptr : &m_records[parent];
}

std::optional<std::u16string> CFolderList::Path(std::uint32_t nodeId) const
{
    if (m_rootId == nodeId)
        return std::u16string();
    const auto found = m_index.find(nodeId);
    if (found == m_index.end())
        return std::nullopt;
    std::u16string& kept = m_shortPaths[found->second];
    if (!kept.empty())
        return kept;

    std::vector<std::size_t> chain;
    for (std::size_t at = found->second; at != kUnderRoot; at = m_parents[at])
        chain.push_back(at);
    std::u16string path;
    for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
        path += u'\\';
        path += m_records[*at].name;
    }
    if (path.size() <= kShortPath)
        kept = path;
    return path;
}

}  // namespace pastille::recovery
