#include "check/StoreCheck.h"

#include <algorithm>
#include <array>

#include "check/LtpRules.h"
#include "check/MessagingRules.h"
#include "check/PropertyCheck.h"
#include "check/TableCheck.h"
#include "check/TableColumns.h"
#include "format/Ids.h"
#include "format/PropertyIds.h"

namespace pastille::check {
namespace {

namespace nids = format::nids;
namespace pid = format::pid;

/// When a node has to be there.
enum class Presence { Always, InUnicodePst, Lately };

struct ExpectedNode {
    std::uint32_t nid;
    Presence presence;
};

constexpr std::array<ExpectedNode, 18> kExpectedNodes = {{
    {nids::kMessageStore.value, Presence::Always},
    {nids::kNameToIdMap.value, Presence::Always},
    {nids::kRootFolder.value, Presence::Always},
    {nids::kSearchManagementQueue.value, Presence::Always},
    {nids::kSearchActivityList.value, Presence::Always},
    {nids::kHierarchyTemplate.value, Presence::Always},
    {nids::kContentsTemplate.value, Presence::Always},
    {nids::kAssociatedContentsTemplate.value, Presence::Always},
    {nids::kSearchContentsTemplate.value, Presence::Always},
    {nids::kReceiveFolderTable.value, Presence::Always},
    {nids::kAttachmentTable.value, Presence::Always},
    {nids::kRecipientTable.value, Presence::Always},
    {nids::kSpamSearchFolder.value, Presence::InUnicodePst},
    {nids::kSearchDomainObject.value, Presence::Lately},
    {nids::kOutgoingQueueTable.value, Presence::Lately},
    {0x6B6, Presence::Lately},
    {0x6D7, Presence::Lately},
    {0x6F8, Presence::Lately},
}};

struct TemplateNode {
    std::uint32_t nid;
    TableKind kind;
};

constexpr std::array<TemplateNode, 10> kTemplates = {{
    {nids::kHierarchyTemplate.value, TableKind::Hierarchy},
    {nids::kContentsTemplate.value, TableKind::Contents},
    {nids::kAssociatedContentsTemplate.value, TableKind::AssociatedContents},
    {nids::kSearchContentsTemplate.value, TableKind::SearchContents},
    {nids::kAttachmentTable.value, TableKind::Attachments},
    {nids::kRecipientTable.value, TableKind::Recipients},
    {nids::kOutgoingQueueTable.value, TableKind::OutgoingQueue},
    {0x6B6, TableKind::Changes},
    {0x6D7, TableKind::Replication},
    {0x6F8, TableKind::ReplicationTimes},
}};

constexpr std::uint16_t kReceiveFolderNid = 0x6605;
constexpr std::uint32_t kFirstUserIndex = 0x400;
constexpr std::size_t kRecordKeySize = 16;
constexpr std::size_t kEntryIdSize = 24;

void CheckPresence(CMessagingRun& run)
{
    for (const ExpectedNode& expected : kExpectedNodes) {
        if (run.Database().FindNode(expected.nid) != nullptr)
            continue;
        const bool isNeeded =
            expected.presence == Presence::Always ||
            (expected.presence == Presence::InUnicodePst && run.IsPst() && run.Layout().wide);
        run.Note(isNeeded ? rules::kNodeMissing : rules::kNodeMissingLately, Place{expected.nid});
    }
}

/// Tables that are used themselves, besides being templates.
bool IsInUse(TableKind kind)
{
    return kind == TableKind::OutgoingQueue || kind == TableKind::Replication ||
           kind == TableKind::ReplicationTimes;
}

/// The folder that a node of this type belongs to; Hid when it belongs to none.
format::NidType FolderTypeOf(format::NidType type)
{
    switch (type) {
        case format::NidType::HierarchyTable:
        case format::NidType::ContentsTable:
        case format::NidType::AssociatedContentsTable:
            return format::NidType::NormalFolder;
        case format::NidType::SearchUpdateQueue:
        case format::NidType::SearchCriteria:
        case format::NidType::SearchContentsTable:
            return format::NidType::SearchFolder;
        default:
            return format::NidType::Hid;
    }
}

bool HasParent(format::NidType type)
{
    return type == format::NidType::NormalFolder || type == format::NidType::SearchFolder ||
           type == format::NidType::NormalMessage || type == format::NidType::AssociatedMessage;
}

/// Nodes that are neither folder nor message: they have no parent, and tables of folders have their folder.
void CheckOtherNodes(CMessagingRun& run)
{
    for (const CDatabase::Node& node : run.Database().Nodes()) {
        const format::Nid nid{node.nid};
        if (!HasParent(nid.Type()) && node.parent != 0)
            run.Note(rules::kNodeParent, Place{node.nid}, {}, Hex(node.parent));
        const auto folder = FolderTypeOf(nid.Type());
        if (folder != format::NidType::Hid && nid.Index() >= kFirstUserIndex &&
            run.Database().HasAllNodes() &&
            run.Database().FindNode(format::Nid::Make(folder, nid.Index()).value) == nullptr)
            run.Note(rules::kNodeOrphan, Place{node.nid});
    }
}

void CheckTemplates(CMessagingRun& run)
{
    const ColumnDemand demand = run.IsPst() ? ColumnDemand::Template : ColumnDemand::Least;
    for (const TemplateNode& expected : kTemplates) {
        const auto* const node = run.Database().FindNode(expected.nid);
        if (node == nullptr)
            continue;
        const Place place{expected.nid};
        CTable table(run, place, node->data, node->sub);
        if (!table.Open())
            continue;
        CheckColumns(table, expected.kind, demand);
        if (table.RowCount() != 0 && !IsInUse(expected.kind))
            table.Node().Note(rules::kTemplateRows, {}, std::to_string(table.RowCount()));
        table.VisitRows([](const TableRow&) {});
        table.Node().ReportUnused();
    }
}

bool IsFolder(CMessagingRun& run, std::uint32_t nid)
{
    const auto type = format::Nid{nid}.Type();
    return (type == format::NidType::NormalFolder || type == format::NidType::SearchFolder) &&
           run.Database().FindNode(nid) != nullptr;
}

/// `key`: the store's record key. An entry id: four zero bytes, the key, the NID. [MS-PST] 2.4.3.2
void CheckEntryId(CPropertyContext& store, std::uint16_t id, format::CByteView key, bool isRequired)
{
    CMessagingRun& run = store.Node().Run();
    const auto bytes = store.Bytes(id);
    const std::string detail = "property " + Hex(id);
    if (!bytes) {
        if (isRequired)
            store.Node().NoteMissing(rules::kStoreProperty, detail);
        return;
    }
    const format::CByteView entry = bytes->view;
    const auto uid = entry.Sub(4, kRecordKeySize);
    const auto nid = entry.ReadOrZero<std::uint32_t>(4 + kRecordKeySize);
    const bool isOwn = uid && std::ranges::equal(uid->Bytes(), key.Bytes());
    if (entry.Size() != kEntryIdSize || entry.ReadOrZero<std::uint32_t>(0) != 0 || !isOwn ||
        format::Nid{nid}.Type() != format::NidType::NormalFolder || !IsFolder(run, nid))
        store.Node().Note(rules::kStoreEntryId, detail, Hex(nid));
}

void CheckMessageStore(CMessagingRun& run, const CDatabase::Node& node)
{
    const Place place{node.nid};
    CPropertyContext store(run, place, node.data, node.sub);
    if (!store.Open())
        return;
    const auto key = store.Bytes(pid::kRecordKey);
    if (!key || key->view.Size() != kRecordKeySize)
        store.Node().Note(rules::kStoreProperty, "property " + Hex(pid::kRecordKey));
    // Caches of server mailboxes keep neither these entry ids nor a password.
    if (run.IsPst()) {
        if (store.Find(pid::kDisplayName) == nullptr)
            store.Node().Note(rules::kStoreProperty, "property " + Hex(pid::kDisplayName));
        for (const std::uint16_t id :
             {pid::kIpmSubtreeEntryId, pid::kIpmWastebasketEntryId, pid::kFinderEntryId})
            if (key)
                CheckEntryId(store, id, key->view, true);
        if (store.Number(pid::kPstPassword).value_or(0) != 0)
            store.Node().Note(rules::kStorePassword);
    }
    store.Node().ReportUnused();
}

void CheckReceiveFolders(CMessagingRun& run, const CDatabase::Node& node)
{
    const Place place{node.nid};
    CTable table(run, place, node.data, node.sub);
    if (!table.Open())
        return;
    CheckColumns(table, TableKind::ReceiveFolder, ColumnDemand::Least);
    bool hasEmptyClass = false;
    table.VisitRows([&](const TableRow& row) {
        const TableCell* const messageClass = row.Find(pid::kMessageClass);
        hasEmptyClass = hasEmptyClass || (messageClass != nullptr && messageClass->stored.size == 0);
        const auto folder = row.Number(kReceiveFolderNid);
        if (!folder || !IsFolder(run, *folder))
            table.Node().Note(rules::kReceiveFolder, "row " + std::to_string(row.number),
                              Hex(folder.value_or(0)));
    });
    if (!hasEmptyClass)
        table.Node().NoteMissing(rules::kReceiveFolder, {}, "no empty class");
    table.Node().ReportUnused();
}

/// A list of folders by their indexes: the low bits of the entries differ with the client.
void CheckSearchList(CMessagingRun& run, std::uint32_t nid, format::NidType type)
{
    const auto* const node = run.Database().FindNode(nid);
    auto data = node == nullptr || node->data == 0 ? std::nullopt : run.Database().OpenData(node->data);
    if (!data)
        return;
    for (std::size_t i = 0; i < data->BlockCount(); ++i) {
        const auto block = data->BlockAt(i);
        const format::CByteView bytes(block ? std::span<const std::byte>(*block)
                                            : std::span<const std::byte>());
        bool isSound = bytes.Size() % 4 == 0;
        for (std::size_t at = 0; isSound && at < bytes.Size(); at += 4)
            isSound = IsFolder(run, format::Nid::Make(type, bytes.ReadOrZero<std::uint32_t>(at) >> 5).value);
        if (!isSound) {
            run.Note(rules::kSearchList, Place{nid});
            return;
        }
    }
}

}  // namespace

void CheckStoreNodes(CMessagingRun& run)
{
    CheckPresence(run);
    CheckOtherNodes(run);
    CheckTemplates(run);
    if (const auto* const store = run.Database().FindNode(nids::kMessageStore.value))
        CheckMessageStore(run, *store);
    if (const auto* const table = run.Database().FindNode(nids::kReceiveFolderTable.value))
        CheckReceiveFolders(run, *table);
    CheckSearchList(run, nids::kSearchActivityList.value, format::NidType::SearchFolder);
    CheckSearchList(run, nids::kSearchDomainObject.value, format::NidType::NormalFolder);
}

}  // namespace pastille::check
