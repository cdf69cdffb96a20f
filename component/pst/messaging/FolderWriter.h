#pragma once

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ltp/TableWriter.h"
#include "component/pst/messaging/FolderTree.h"
#include "component/pst/ndb/NdbWriter.h"

namespace pastille::component::pst {

// A folder is four nodes that share one index: property context, hierarchy table, contents table, table of
// associated messages. A search folder has a search contents table only. [MS-PST] 2.4.4

/// Puts the folder's tables as they are without rows.
void PutEmptyFolderTables(CNdbWriter& writer, const Folder& folder);
/// Puts a folder's property context: what its row in the parent's hierarchy table repeats, and `extra`.
void PutFolderProperties(CNdbWriter& writer, const Folder& folder, const CPropertyBag& extra);
/// Puts the hierarchy table, one row per sub-folder in the order of their making.
void PutHierarchyTable(CNdbWriter& writer, const Folder& folder);
/// Puts a table of messages.
void PutContentsTable(CNdbWriter& writer, format::Nid nid, CTableWriter& table);

}  // namespace pastille::component::pst
