#include "component/pst/messaging/FolderWriter.h"

#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/messaging/MessagingIds.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

using format::Nid;
using format::NidType;

bool IsSearchFolder(const Folder& folder)
{
    return folder.nid.Type() == NidType::SearchFolder;
}

Nid TableOf(const Folder& folder, NidType type)
{
    return Nid::Make(type, folder.nid.Index());
}

void PutTable(CNdbWriter& writer, Nid nid, CTableWriter& table)
{
    const auto content = table.Finish();
    writer.PutNode(nid, content.data, content.sub);
}

void PutEmptyTable(CNdbWriter& writer, Nid nid, std::span<const format::TableColumn> columns)
{
    CTableWriter table(writer, columns);
    PutTable(writer, nid, table);
}

/// What the store itself says of a folder, in its properties and in its row.
CPropertyBag FolderProperties(const Folder& folder)
{
    CPropertyBag bag;
    if (folder.associatedCount != 0) {
        bag.Set(Integer32Value(pid::kPstHiddenCount, folder.associatedCount));
        bag.Set(Integer32Value(pid::kPstHiddenUnread, folder.associatedUnread));
    }
    bag.Set(StringValue(format::pid::kDisplayName, folder.name));
    bag.Set(Integer32Value(format::pid::kContentCount, static_cast<std::uint32_t>(folder.items.size())));
    bag.Set(Integer32Value(format::pid::kContentUnreadCount, folder.unreadCount));
    bag.Set(BooleanValue(format::pid::kSubfolders, !folder.children.empty()));
    if (!folder.containerClass.empty())
        bag.Set(StringValue(format::pid::kContainerClass, folder.containerClass));
    return bag;
}

}  // namespace

void PutEmptyFolderTables(CNdbWriter& writer, const Folder& folder)
{
    if (IsSearchFolder(folder)) {
        PutEmptyTable(writer, TableOf(folder, NidType::SearchContentsTable),
                      tabletemplate::kSearchContentsTableColumns);
        return;
    }
    PutEmptyTable(writer, TableOf(folder, NidType::HierarchyTable), tabletemplate::kHierarchyTableColumns);
    PutEmptyTable(writer, TableOf(folder, NidType::ContentsTable), tabletemplate::kContentsTableColumns);
    PutEmptyTable(writer, TableOf(folder, NidType::AssociatedContentsTable),
                  tabletemplate::kAssociatedContentsTableColumns);
}

void PutFolderProperties(CNdbWriter& writer, const Folder& folder, const CPropertyBag& extra)
{
    CPropertyBag bag = folder.properties;
    for (const CPropertyBag& own : {FolderProperties(folder), extra})
        for (const PropertyValue& value : own.Values())
            bag.Set(value);
    const auto content = WritePropertyContext(writer, bag);
    // The root folder is its own parent.
    writer.PutNode(folder.nid, content.data, content.sub, folder.parent ? folder.parent->nid : folder.nid);
}

void PutHierarchyTable(CNdbWriter& writer, const Folder& folder)
{
    CTableWriter table(writer, tabletemplate::kHierarchyTableColumns);
    for (const Folder* child : folder.children)
        table.AddRow(child->nid.value, FolderProperties(*child));
    PutTable(writer, TableOf(folder, NidType::HierarchyTable), table);
}

void PutContentsTable(CNdbWriter& writer, Nid nid, CTableWriter& table)
{
    PutTable(writer, nid, table);
}

}  // namespace pastille::component::pst
