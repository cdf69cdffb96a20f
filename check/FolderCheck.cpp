#include "check/FolderCheck.h"

#include <array>

#include "check/FolderContents.h"
#include "check/FolderTree.h"
#include "check/LtpRules.h"
#include "check/MessagingRules.h"
#include "check/PropertyCheck.h"
#include "check/TableCheck.h"
#include "check/TableColumns.h"
#include "check/TableCompare.h"
#include "format/Ids.h"
#include "format/PropertyIds.h"

namespace pastille::check {
namespace {

using format::NidType;
namespace pid = format::pid;

/// Replication columns and counts of associated messages, which clients fill later.
constexpr std::array<std::uint16_t, 6> kComputed = {0x0E30, 0x0E33, 0x0E34, 0x0E38, 0x6635, 0x6636};
const RowRules kRowRules{rules::kFolderRowDifferent, rules::kFolderRowStale, kComputed};

class CFolderCheck {
public:
    explicit CFolderCheck(CMessagingRun& run) : m_run(run), m_folders(run) {}

    void Check();

private:
    /// Properties of a folder, compared with the row of its parent's table when there is one.
    void CheckProperties(FolderFacts& folder, CTable* table, const TableRow* row);
    void ReadFacts(FolderFacts& folder, const CPropertyContext& properties, CHeapNode& node);
    void CheckHierarchy(FolderFacts& folder);
    void CheckHierarchyRow(FolderFacts& folder, CTable& table, const TableRow& row);
    void CheckNodes(const FolderFacts& folder);
    const CDatabase::Node* FindTable(const FolderFacts& folder, NidType type)
    {
        return m_run.Database().FindNode(
            format::Nid::Make(type, format::Nid{folder.node->nid}.Index()).value);
    }

    CMessagingRun& m_run;
    CFolderTree m_folders;
};

void CFolderCheck::CheckNodes(const FolderFacts& folder)
{
    constexpr std::array<NidType, 3> kOfFolder = {NidType::HierarchyTable, NidType::ContentsTable,
                                                  NidType::AssociatedContentsTable};
    constexpr std::array<NidType, 3> kOfSearch = {NidType::SearchUpdateQueue, NidType::SearchCriteria,
                                                  NidType::SearchContentsTable};
    if (folder.IsInternal() || !m_run.Database().HasAllNodes())
        return;
    for (const NidType type : folder.IsSearch() ? kOfSearch : kOfFolder)
        if (FindTable(folder, type) == nullptr)
            m_run.Note(rules::kFolderNode, Place{folder.node->nid}, {},
                       "node " + Hex(format::Nid::Make(type, format::Nid{folder.node->nid}.Index()).value));
    const auto* const criteria = folder.IsSearch() ? FindTable(folder, NidType::SearchCriteria) : nullptr;
    if (criteria == nullptr)
        return;
    const Place place{criteria->nid};
    CPropertyContext properties(m_run, place, criteria->data, criteria->sub);
    if (properties.Open())
        properties.Node().ReportUnused();
}

void CFolderCheck::ReadFacts(FolderFacts& folder, const CPropertyContext& properties, CHeapNode& node)
{
    NoteMissing(properties, node, rules::kFolderProperty,
                {pid::kDisplayName, pid::kContentCount, pid::kContentUnreadCount, pid::kSubfolders});
    const auto count = properties.Number(pid::kContentCount);
    const auto unread = properties.Number(pid::kContentUnreadCount);
    const auto subfolders = properties.Number(pid::kSubfolders);
    folder.isRead = count && unread;
    folder.contentCount = count.value_or(0);
    folder.unreadCount = unread.value_or(0);
    if (subfolders && (*subfolders != 0) != (folder.children != 0))
        node.Note(rules::kFolderSubfolders, {}, std::to_string(folder.children) + " sub-folders");
}

void CFolderCheck::CheckProperties(FolderFacts& folder, CTable* table, const TableRow* row)
{
    folder.isVisited = true;
    const Place place{folder.node->nid};
    CPropertyContext properties(m_run, place, folder.node->data, folder.node->sub);
    if (!properties.Open())
        return;
    ReadFacts(folder, properties, properties.Node());
    if (table != nullptr)
        CompareRow(*table, *row, properties, kRowRules);
    properties.Node().ReportUnused();
}

void CFolderCheck::CheckHierarchyRow(FolderFacts& folder, CTable& table, const TableRow& row)
{
    FolderFacts* const child = m_folders.Find(row.id);
    const FolderFacts* const parent = child == nullptr ? nullptr : m_folders.FindParent(*child);
    const bool isChild = child != nullptr && child != &folder && (parent == nullptr || parent == &folder);
    if (!isChild || child->isListed) {
        if (child != nullptr || m_run.Database().HasAllNodes())
            table.Node().Note(rules::kFolderRowStray, "row " + std::to_string(row.number), Hex(row.id));
        return;
    }
    child->isListed = true;
    CheckProperties(*child, &table, &row);
}

void CFolderCheck::CheckHierarchy(FolderFacts& folder)
{
    const auto* const node = folder.IsSearch() ? nullptr : FindTable(folder, NidType::HierarchyTable);
    folder.isHierarchyBroken = true;
    if (node == nullptr)
        return;
    const Place place{node->nid};
    CTable table(m_run, place, node->data, node->sub);
    if (!table.Open())
        return;
    folder.isHierarchyBroken = false;
    CheckColumns(table, TableKind::Hierarchy, ColumnDemand::Least);
    table.VisitRows([&](const TableRow& row) { CheckHierarchyRow(folder, table, row); });
    table.Node().ReportUnused();
}

void CFolderCheck::Check()
{
    for (FolderFacts& folder : m_folders.All()) {
        CheckNodes(folder);
        CheckHierarchy(folder);
    }
    for (FolderFacts& folder : m_folders.All()) {
        const FolderFacts* const parent = m_folders.FindParent(folder);
        const bool isRoot = folder.node->nid == format::nids::kRootFolder.value;
        if (!isRoot && !folder.isListed && parent != nullptr && !parent->isHierarchyBroken)
            m_run.Note(rules::kFolderRowMissing, Place{folder.node->nid}, {},
                       "parent " + Hex(parent->node->nid));
        if (!folder.isVisited)
            CheckProperties(folder, nullptr, nullptr);
    }
    for (FolderFacts& folder : m_folders.All())
        CheckFolderContents(m_run, m_folders, folder);
    CheckUnlistedMessages(m_run, m_folders);
}

}  // namespace

void CheckFolders(CMessagingRun& run)
{
    CFolderCheck(run).Check();
}

}  // namespace pastille::check
