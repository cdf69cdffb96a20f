#include "recovery/complete/SourceFolders.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

#include "format/Ids.h"
#include "format/PropertyIds.h"
#include "recovery/complete/FoundText.h"
#include "recovery/complete/LostNameMap.h"
#include "recovery/complete/SourceNodes.h"

namespace pastille::recovery::complete {
namespace {

using format::Nid;
using format::NidType;
using store::complete::CFoundObject;
using store::complete::CFoundTable;
using store::complete::FoundRow;
using store::complete::NodeVersion;

constexpr std::uint16_t kStoreCodePage = 0x66C3;  // PidTagCodePageId
/// Names of the folder that shows itself as the root, where the store does not tell which it is.
constexpr std::array<std::u16string_view, 5> kRootNames{
    u"Top of Personal Folders", u"Top of Outlook data file", u"Top of Outlook Data File", u"IPM_SUBTREE",
    u"Top of Information Store"};
constexpr std::u16string_view kNamelessFolder = u"Unnamed Folder";
/// Copies of the name map that are looked at.
constexpr std::size_t kMostMapCopies = 16;
/// Rows of all tables together: a damaged file may name one table any number of times.
constexpr std::size_t kMostListed = 50'000'000, kFewestRowBytes = 8;

bool IsFolder(std::uint32_t nid)
{
    return Nid{nid}.Type() == NidType::NormalFolder;
}

}  // namespace

bool CSourceFolders::Collect(const std::function<bool(std::size_t)>& proceed)
{
    ReadStore();
    FindParents();
    if (!AddFolders(proceed))
        return false;
    CompleteFromTables();
    FindRoot();
    DropEmptyOutsiders();
    for (FolderRecord& record : m_records)
        m_folders.Add(std::move(record));
    m_records.clear();
    if (m_root != 0)
        m_folders.SetRoot(m_root);
    m_folders.Arrange();
    std::ranges::sort(m_listed, [](const ListedItem& a, const ListedItem& b) {
        return std::pair(a.item, a.folder) < std::pair(b.item, b.folder);
    });
    return true;
}

/// The map of names, newest copy first, and what the store says of itself.
void CSourceFolders::ReadStore()
{
    std::size_t copies = 0;
    for (const NodeVersion& version : m_source.nodes.VersionsOf(format::nids::kNameToIdMap.value)) {
        CFoundObject map(m_blocks, ReferenceOf(m_source, version));
        if (copies++ < kMostMapCopies && map.Open())
            m_names.Read(map);
    }
    if (const auto lost = m_names.IsRead() ? std::nullopt : FindLostNameMap(m_source, m_blocks)) {
        CFoundObject map(m_blocks, *lost);
        if (map.Open())
            m_names.Read(map);
    }
    for (const NodeVersion& version : m_source.nodes.VersionsOf(format::nids::kMessageStore.value)) {
        CFoundObject store(m_blocks, ReferenceOf(m_source, version));
        if (!store.Open())
            continue;
        constexpr std::size_t kEntryIdNid = 20, kEntryIdBytes = 24;
        const auto entryId = store.Bytes(format::pid::kIpmSubtreeEntryId, kEntryIdBytes);
        if (entryId.size() == kEntryIdBytes)
            m_root = format::LoadLE<std::uint32_t>(entryId, kEntryIdNid);
        m_pages.SetStorePage(store.Number(kStoreCodePage).value_or(0));
        break;
    }
}

/// Parents of live items and folders, and theirs: their folders are wanted whatever became of them.
void CSourceFolders::FindParents()
{
    std::vector<std::uint32_t> pending;
    const auto want = [&](const NodeVersion& version) {
        if (IsMessageNode(version.nid))
            m_holders.insert(version.parent);
        if (m_parents.insert(version.parent).second)
            pending.push_back(version.parent);
    };
    for (const NodeVersion& version : m_source.nodes.Versions()) {
        if (version.isLive != 0 && (IsMessageNode(version.nid) || IsFolder(version.nid)))
            want(version);
    }
    while (!pending.empty()) {
        const auto versions = m_source.nodes.VersionsOf(pending.back());
        pending.pop_back();
        if (!versions.empty())
            want(versions.front());
    }
}

bool CSourceFolders::AddFolders(const std::function<bool(std::size_t)>& proceed)
{
    std::size_t passed = 0;
    bool goesOn = true;
    ForEachNode(m_source.nodes, [&](std::span<const NodeVersion> versions) {
        const std::uint32_t nid = versions.front().nid;
        const bool isWanted = versions.front().isLive != 0 || m_parents.contains(nid);
        if (IsFolder(nid) && isWanted)
            AddFolder(versions);
        passed += versions.size();
        return goesOn = proceed(passed);
    });
    return goesOn;
}

void CSourceFolders::AddFolder(std::span<const NodeVersion> versions)
{
    const NodeVersion& newest = versions.front();
    SourceFolder found;
    found.properties = ReferenceOf(m_source, newest);
    FolderRecord record{newest.nid, newest.parent, {}, {}};
    for (const NodeVersion& version : versions) {
        CFoundObject object(m_blocks, ReferenceOf(m_source, version));
        if (!object.Open() || object.Find(format::pid::kMessageClass) != nullptr)
            continue;
        const CItemText text(m_pages.PagesOf(object));
        found.properties = ReferenceOf(m_source, version);
        found.isNewest = &version == &newest;
        found.statedItems = object.Number(format::pid::kContentCount);
        record.parentId = version.parent;
        record.name = TextOf(object, format::pid::kDisplayName, text);
        record.containerClass = TextOf(object, format::pid::kContainerClass, text);
        break;
    }
    ReadTables(newest.nid);
    m_found.emplace(newest.nid, found);
    if (newest.nid == format::nids::kRootFolder.value)
        return;
    m_records.push_back(std::move(record));
}

void CSourceFolders::ReadTables(std::uint32_t folder)
{
    ReadTable(ContentsTableOf(folder, false), folder);
    ReadTable(ContentsTableOf(folder, true), folder | ListedItem::kAssociated);
}

void CSourceFolders::ReadTable(std::uint32_t table, std::uint32_t folder)
{
    for (const NodeVersion& version : m_source.nodes.VersionsOf(table)) {
        if (version.isLive == 0)
            break;  // older tables list what has been deleted since
        CFoundTable rows(m_blocks, ReferenceOf(m_source, version));
        if (!rows.Open())
            continue;
        rows.ForEachRow([&](const FoundRow& row) {
            if (m_listed.size() >=
                std::min<std::uint64_t>(kMostListed, m_blocks.FileSize() / kFewestRowBytes))
                return false;
            if (IsMessageNode(row.id))
                m_listed.push_back({row.id, folder});
            return true;
        });
    }
}

/// What the tables of folders say of those whose own properties are lost.
void CSourceFolders::CompleteFromTables()
{
    std::unordered_map<std::uint32_t, FolderRecord> wanted;
    for (const std::uint32_t parent : m_parents) {
        const bool isLost = IsFolder(parent) && parent != format::nids::kRootFolder.value;
        if (isLost && m_source.nodes.VersionsOf(parent).empty())
            wanted.emplace(parent, FolderRecord{parent, 0, {}, {}});
    }
    for (const FolderRecord& record : m_records) {
        if (record.name.empty())
            wanted.emplace(record.nodeId, record);
    }
    std::erase_if(m_records, [](const FolderRecord& record) { return record.name.empty(); });
    std::unordered_set<std::uint64_t> read;
    for (const NodeVersion& version : m_source.nodes.Versions()) {
        if (!wanted.empty() && Nid{version.nid}.Type() == NidType::HierarchyTable &&
            read.insert(version.bidData).second)
            ReadHierarchy(version, wanted);
    }
    for (auto& [nid, record] : wanted) {
        if (record.name.empty())
            record.name = kNamelessFolder;
        if (m_found.try_emplace(nid).second)
            ReadTables(nid);
        m_records.push_back(std::move(record));
    }
    std::ranges::sort(m_records, {}, &FolderRecord::nodeId);
}

void CSourceFolders::ReadHierarchy(const NodeVersion& version,
                                   std::unordered_map<std::uint32_t, FolderRecord>& wanted)
{
    CFoundTable table(m_blocks, ReferenceOf(m_source, version));
    if (!table.Open())
        return;
    CFoundObject none(m_blocks, {});
    const CItemText text(m_pages.PagesOf(none));
    table.ForEachRow([&](const FoundRow& row) {
        const auto at = wanted.find(row.id);
        if (at == wanted.end() || !at->second.name.empty())
            return true;
        at->second.name = TextOf(table, row, format::pid::kDisplayName, text);
        at->second.containerClass = TextOf(table, row, format::pid::kContainerClass, text);
        if (at->second.parentId == 0)
            at->second.parentId = Nid::Make(NidType::NormalFolder, Nid{version.nid}.Index()).value;
        return true;
    });
}

/// Of folders with such a name the one with the most folders: a mailbox has one for public folders too.
void CSourceFolders::FindRoot()
{
    if (m_root != 0 && m_found.contains(m_root))
        return;
    std::unordered_map<std::uint32_t, std::size_t> children;
    for (const FolderRecord& record : m_records)
        ++children[record.parentId];
    m_root = 0;
    for (const FolderRecord& record : m_records) {
        const bool isNamed = std::ranges::find(kRootNames, record.name) != kRootNames.end();
        if (isNamed && (m_root == 0 || children[record.nodeId] > children[m_root]))
            m_root = record.nodeId;
    }
}

namespace {

/// True for a folder whose chain of parents ends at the store's own root. One that ends nowhere or in itself
/// has lost its parents: that is no outsider. `judged`: folders of which it is known, to which the chain is
/// added.
bool IsOutsider(std::uint32_t folder, const std::unordered_map<std::uint32_t, std::uint32_t>& parents,
                std::unordered_map<std::uint32_t, bool>& judged)
{
    std::vector<std::uint32_t> chain;
    bool isOutside = false;
    for (std::uint32_t nid = folder;;) {
        if (const auto known = judged.find(nid); known != judged.end()) {
            isOutside = known->second;
            break;
        }
        const auto parent = parents.find(nid);
        if (parent == parents.end())
            break;
        chain.push_back(nid);
        judged.emplace(nid, false);
        isOutside = parent->second == format::nids::kRootFolder.value;
        nid = parent->second;
    }
    for (const std::uint32_t nid : chain)
        judged[nid] = isOutside;
    return isOutside;
}

}  // namespace

/// Folders that do not hang below the root: without items in them they are the store's own bookkeeping.
void CSourceFolders::DropEmptyOutsiders()
{
    std::unordered_map<std::uint32_t, std::uint32_t> parents;
    for (const FolderRecord& record : m_records)
        parents.emplace(record.nodeId, record.parentId);
    std::unordered_set<std::uint32_t> kept, wanted, listed;
    for (const ListedItem& item : m_listed)
        listed.insert(item.Folder());
    const auto keepUpward = [&](std::uint32_t nid) {
        for (auto at = parents.find(nid); at != parents.end(); at = parents.find(nid)) {
            if (!wanted.insert(nid).second)
                return;
            nid = at->second;
        }
    };
    std::unordered_map<std::uint32_t, bool> judged;
    if (m_root != 0)
        judged.emplace(m_root, false);
    for (const FolderRecord& record : m_records) {
        const bool isOutside = IsOutsider(record.nodeId, parents, judged);
        if (!isOutside || m_root == 0)
            kept.insert(record.nodeId);
        if (m_holders.contains(record.nodeId) || listed.contains(record.nodeId))
            keepUpward(record.nodeId);
    }
    std::erase_if(m_records, [&](const FolderRecord& record) {
        return !kept.contains(record.nodeId) && !wanted.contains(record.nodeId) && record.nodeId != m_root;
    });
    for (FolderRecord& record : m_records) {
        if (record.parentId == format::nids::kRootFolder.value && record.nodeId != m_root)
            record.parentId = 0;
    }
}

const SourceFolder* CSourceFolders::Find(std::uint32_t nid) const
{
    const auto at = m_found.find(nid);
    return at == m_found.end() ? nullptr : &at->second;
}

std::optional<ListedItem> CSourceFolders::ListingOf(std::uint32_t item) const
{
    const auto at =
        std::lower_bound(m_listed.begin(), m_listed.end(), item,
                         [](const ListedItem& listed, std::uint32_t key) { return listed.item < key; });
    return at != m_listed.end() && at->item == item ? std::optional(*at) : std::nullopt;
}

bool CSourceFolders::IsRoot(std::uint32_t nid) const
{
    return nid == m_root || nid == format::nids::kRootFolder.value;
}

}  // namespace pastille::recovery::complete
