#include "component/pst/messaging/NewStore.h"

#include <array>
#include <initializer_list>
#include <span>

#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/ltp/TableWriter.h"
#include "component/pst/messaging/MessagingIds.h"
#include "format/PropertyIds.h"
#include "platform/Host.h"

namespace pastille::component::pst {
namespace {

namespace nids = format::nids;

constexpr format::Nid kChangeTemplate{0x6B6};
constexpr format::Nid kReplicationTemplate{0x6D7};
constexpr format::Nid kReplicationTimeTemplate{0x6F8};
/// Not in the public document: an empty queue whose lack some programs report.
constexpr format::Nid kGathererQueue{0xEC1};

/// PidTagValidFolderMask: IPM subtree 0x01, wastebasket 0x08 and finder 0x80 are there.
constexpr std::uint32_t kValidFolders = 0x89;
/// PidTagLatestPstEnsure as today's stores carry it.
constexpr std::uint32_t kPstEnsure = 0x000E0011;

void PutTemplate(CNdbWriter& writer, format::Nid nid, std::span<const format::TableColumn> columns)
{
    const auto table = CTableWriter(writer, columns).Finish();
    writer.PutNode(nid, table.data, table.sub);
}

void PutProperties(CNdbWriter& writer, format::Nid nid, const CPropertyBag& bag)
{
    const auto content = WritePropertyContext(writer, bag);
    writer.PutNode(nid, content.data, content.sub);
}

void PutMessageStore(CNdbWriter& writer, const RecordKey& key, std::u16string_view displayName)
{
    CPropertyBag bag;
    bag.Set(BinaryValue(format::pid::kRecordKey, key));
    bag.Set(StringValue(format::pid::kDisplayName, displayName));
    bag.Set(Integer32Value(format::pid::kValidFolderMask, kValidFolders));
    bag.Set(BinaryValue(format::pid::kIpmSubtreeEntryId, MakeEntryId(key, nids::kIpmSubtree)));
    bag.Set(BinaryValue(format::pid::kIpmWastebasketEntryId, MakeEntryId(key, nids::kDeletedItems)));
    bag.Set(BinaryValue(format::pid::kFinderEntryId, MakeEntryId(key, nids::kSearchRoot)));
    bag.Set(BooleanValue(pid::kPstLrNoRestrictions, true));
    bag.Set(Integer32Value(pid::kLatestPstEnsure, kPstEnsure));
    bag.Set(Integer32Value(format::pid::kPstPassword, 0));
    PutProperties(writer, nids::kMessageStore, bag);
}

void PutTemplates(CNdbWriter& writer)
{
    PutTemplate(writer, nids::kHierarchyTemplate, tabletemplate::kHierarchyTableColumns);
    PutTemplate(writer, nids::kContentsTemplate, tabletemplate::kContentsTableColumns);
    PutTemplate(writer, nids::kAssociatedContentsTemplate, tabletemplate::kAssociatedContentsTableColumns);
    PutTemplate(writer, nids::kSearchContentsTemplate, tabletemplate::kSearchContentsTableColumns);
    PutTemplate(writer, nids::kOutgoingQueueTable, tabletemplate::kOutgoingQueueTableColumns);
    PutTemplate(writer, nids::kAttachmentTable, tabletemplate::kAttachmentTableColumns);
    PutTemplate(writer, nids::kRecipientTable, tabletemplate::kRecipientTableColumns);
    PutTemplate(writer, kChangeTemplate, tabletemplate::kChangeTableColumns);
    PutTemplate(writer, kReplicationTemplate, tabletemplate::kReplicationTableColumns);
    PutTemplate(writer, kReplicationTimeTemplate, tabletemplate::kReplicationTimeTableColumns);
}

/// One row: messages of the empty class, that is of every class, arrive in the root folder. [MS-PST] 2.4.5
void PutReceiveFolderTable(CNdbWriter& writer)
{
    CPropertyBag row;
    row.Set(StringValue(format::pid::kMessageClass, u""));
    row.Set(Integer32Value(pid::kReceiveFolderNid, nids::kRootFolder.value));
    CTableWriter table(writer, tabletemplate::kReceiveFolderTableColumns);
    table.AddRow(1, row);
    const auto content = table.Finish();
    writer.PutNode(nids::kReceiveFolderTable, content.data, content.sub);
}

void PutSearchNodes(CNdbWriter& writer)
{
    writer.PutNode(nids::kSearchManagementQueue, {}, {});
    writer.PutNode(nids::kSearchDomainObject, {}, {});
    writer.PutNode(kGathererQueue, {}, {});
    std::array<std::byte, 4> activeSearches{};
    format::StoreLE(std::span<std::byte>(activeSearches), 0, nids::kSpamSearchFolder.value);
    writer.PutNode(nids::kSearchActivityList, writer.AddDataBlock(activeSearches), {});

    const auto index = nids::kSpamSearchFolder.Index();
    writer.PutNode(format::Nid::Make(format::NidType::SearchUpdateQueue, index), {}, {});
    CPropertyBag criteria;
    criteria.Set(Integer32Value(pid::kSearchState, 0));
    PutProperties(writer, format::Nid::Make(format::NidType::SearchCriteria, index), criteria);
}

}  // namespace

void PutMandatoryNodes(CNdbWriter& writer, const RecordKey& key, std::u16string_view displayName)
{
    PutMessageStore(writer, key, displayName);
    PutTemplates(writer);
    PutReceiveFolderTable(writer);
    PutSearchNodes(writer);
}

void AddMandatoryFolders(CFolderTree& folders)
{
    Folder& root = folders.Add(nullptr, nids::kRootFolder, u"");
    folders.Add(&root, nids::kSpamSearchFolder, u"SPAM Search Folder 2");
    Folder& subtree = folders.Add(&root, nids::kIpmSubtree, u"Top of Personal Folders");
    folders.Add(&root, nids::kSearchRoot, u"Search Root");
    Folder& deleted = folders.Add(&subtree, nids::kDeletedItems, u"Deleted Items");
    deleted.containerClass = u"IPF.Note";
}

void AddCommonNames(CNameMap& names)
{
    struct NumericNames {
        format::Guid set;
        std::initializer_list<std::uint32_t> lids;
    };
    const NumericNames sets[] = {
        {format::propset::kAppointment,
         {0x8205, 0x820D, 0x820E, 0x8216, 0x8223, 0x8231, 0x8233, 0x8235, 0x8236}},
        {format::propset::kTask, {0x8101, 0x8104, 0x8105, 0x811C}},
        {format::propset::kCommon, {0x8502, 0x8503, 0x8510, 0x8514, 0x8552, 0x8578, 0x8580, 0x8581}},
    };
    for (const NumericNames& numeric : sets) {
        for (const std::uint32_t lid : numeric.lids)
            names.FindOrAdd({numeric.set, lid, {}});
    }
    names.FindOrAdd({format::propset::kPublicStrings, 0, u"Keywords"});
}

RecordKey MakeRecordKey()
{
    RecordKey key;
    platform::FillRandom(key);
    return key;
}

}  // namespace pastille::component::pst
