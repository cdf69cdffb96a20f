#include "check/FolderContents.h"

#include <array>

#include "check/LtpRules.h"
#include "check/MessageCheck.h"
#include "check/MessagingRules.h"
#include "check/TableCheck.h"
#include "check/TableColumns.h"
#include "check/TableCompare.h"
#include "format/Ids.h"
#include "format/PropertyIds.h"

namespace pastille::check {
namespace {

using format::NidType;
namespace pid = format::pid;

constexpr std::uint32_t kReadFlag = 1;

/// What clients compute for the row, or bring up to date in one of both only.
constexpr std::array<std::uint16_t, 12> kComputedOfMessage = {pid::kMessageSize,
                                                              pid::kMessageStatus,
                                                              0x0057,   // PidTagMessageToMe
                                                              0x0058,   // PidTagMessageCcMe
                                                              0x0E30,   // PidTagReplItemid
                                                              0x0E33,   // PidTagReplChangenum
                                                              0x0E34,   // PidTagReplVersionHistory
                                                              0x0E38,   // PidTagReplFlags
                                                              0x1097,   // PidTagItemTemporaryFlags
                                                              0x3013,   // PidTagConversationId
                                                              0x65C6,   // PidTagSecureSubmitFlags
                                                              0x0E3C};  // PidTagReplCopiedfromVersionhistory
const RowRules kMessageRowRules{rules::kMessageRowDifferent, rules::kMessageRowStale, kComputedOfMessage};

/// One of the tables of a folder that list messages.
class CContents {
public:
    CContents(CMessagingRun& run, CFolderTree& folders, FolderFacts& folder, NidType tableType)
        : m_run(run),
          m_folders(folders),
          m_folder(folder),
          m_type(tableType),
          m_place{format::Nid::Make(tableType, format::Nid{folder.node->nid}.Index()).value}
    {
    }

    /// False when there is no table that could be read.
    bool Check();
    std::size_t RowCount() const { return m_rowCount; }
    std::size_t UnreadCount() const { return m_unread; }

private:
    bool IsSearch() const { return m_type == NidType::SearchContentsTable; }
    void CheckRow(CTable& table, const TableRow& row);
    void CheckMessageOf(CTable& table, const TableRow& row, const CDatabase::Node& node);

    CMessagingRun& m_run;
    CFolderTree& m_folders;
    FolderFacts& m_folder;
    NidType m_type;
    Place m_place;
    std::size_t m_rowCount = 0;
    std::size_t m_unread = 0;
};

TableKind KindOf(NidType tableType)
{
    if (tableType == NidType::SearchContentsTable)
        return TableKind::SearchContents;
    return tableType == NidType::ContentsTable ? TableKind::Contents : TableKind::AssociatedContents;
}

std::string RowName(const TableRow& row)
{
    return "row " + std::to_string(row.number);
}

bool CContents::Check()
{
    const auto* const node = m_run.Database().FindNode(m_place.nid);
    if (node == nullptr)
        return false;
    CTable table(m_run, m_place, node->data, node->sub);
    if (!table.Open())
        return false;
    CheckColumns(table, KindOf(m_type), ColumnDemand::Least);
    m_rowCount = table.RowCount();
    table.VisitRows([&](const TableRow& row) { CheckRow(table, row); });
    table.Node().ReportUnused();
    return true;
}

void CContents::CheckRow(CTable& table, const TableRow& row)
{
    const auto flags = row.Number(pid::kMessageFlags);
    m_unread += flags && (*flags & kReadFlag) == 0 ? 1 : 0;
    const auto* const node = m_run.Database().FindNode(row.id);
    if (node == nullptr && !m_run.Database().HasAllNodes())
        return;
    const std::string name = "row " + std::to_string(row.number);
    const auto type = format::Nid{row.id}.Type();
    if (IsSearch()) {
        if (node == nullptr || (type != NidType::NormalMessage && type != NidType::AssociatedMessage))
            table.Node().Note(rules::kSearchRowStray, RowName(row), Hex(row.id));
        return;
    }
    const auto expected =
        m_type == NidType::ContentsTable ? NidType::NormalMessage : NidType::AssociatedMessage;
    const bool isOwn = node != nullptr && type == expected &&
                       (node->parent == m_folder.node->nid || m_folders.Find(node->parent) == nullptr);
    if (!isOwn || !m_folders.List(*node)) {
        table.Node().Note(rules::kMessageRowStray, RowName(row), Hex(row.id));
        return;
    }
    if (node->parent != m_folder.node->nid)
        m_run.Note(rules::kMessageParent, Place{node->nid}, {}, Instead(node->parent, m_folder.node->nid));
    CheckMessageOf(table, row, *node);
}

void CContents::CheckMessageOf(CTable& table, const TableRow& row, const CDatabase::Node& node)
{
    const Place place{node.nid};
    CheckMessage(m_run, {place, node.data, node.sub, m_type == NidType::AssociatedContentsTable},
                 [&](CPropertyContext& message) { CompareRow(table, row, message, kMessageRowRules); });
}

}  // namespace

void CheckFolderContents(CMessagingRun& run, CFolderTree& folders, FolderFacts& folder)
{
    if (folder.IsInternal())
        return;
    const Place place{folder.node->nid};
    CContents contents(run, folders, folder,
                       folder.IsSearch() ? NidType::SearchContentsTable : NidType::ContentsTable);
    folder.isContentsBroken = !contents.Check();
    if (!folder.isContentsBroken && folder.isRead) {
        const Rule& rule = folder.IsSearch() ? rules::kSearchCount : rules::kFolderCount;
        if (folder.contentCount != contents.RowCount())
            run.Note(rule, place, "PidTagContentCount", Instead(folder.contentCount, contents.RowCount()));
        if (folder.unreadCount != contents.UnreadCount())
            run.Note(rule, place, "PidTagContentUnreadCount",
                     Instead(folder.unreadCount, contents.UnreadCount()));
    }
    if (folder.IsSearch())
        return;
    CContents associated(run, folders, folder, NidType::AssociatedContentsTable);
    folder.isAssociatedBroken = !associated.Check();
}

void CheckUnlistedMessages(CMessagingRun& run, CFolderTree& folders)
{
    for (const CDatabase::Node& node : run.Database().Nodes()) {
        const auto type = format::Nid{node.nid}.Type();
        const bool isAssociated = type == NidType::AssociatedMessage;
        if ((type != NidType::NormalMessage && !isAssociated) || folders.IsListed(node))
            continue;
        const Place place{node.nid};
        const FolderFacts* const folder = folders.Find(node.parent);
        if (folder != nullptr && !(isAssociated ? folder->isAssociatedBroken : folder->isContentsBroken))
            run.Note(rules::kMessageRowMissing, place, {}, "folder " + Hex(node.parent));
        else if (folder == nullptr && run.Database().HasAllNodes())
            run.Note(rules::kMessageParent, place, {}, Hex(node.parent));
        CheckMessage(run, {place, node.data, node.sub, isAssociated}, [](CPropertyContext&) {});
    }
}

}  // namespace pastille::check
