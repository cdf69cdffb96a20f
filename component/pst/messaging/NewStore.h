#pragma once

#include <string_view>

#include "component/pst/messaging/EntryId.h"
#include "component/pst/messaging/FolderTree.h"
#include "component/pst/messaging/NameMap.h"
#include "component/pst/ndb/NdbWriter.h"

namespace pastille::component::pst {

/// Puts the nodes that every store has and that never change afterwards: the message store, templates,
/// queues, the receive-folder table, the criteria of the search folder. [MS-PST] 2.7.1
void PutMandatoryNodes(CNdbWriter& writer, const RecordKey& key, std::u16string_view displayName);

/// Adds the folders that every store has: root, IPM subtree, search root, search folder, deleted items.
void AddMandatoryFolders(CFolderTree& folders);

/// Gives the names that mail programs ask every store for their ids. A map without any name is refused by
/// some readers.
void AddCommonNames(CNameMap& names);

/// PidTagRecordKey for a new store.
RecordKey MakeRecordKey();

}  // namespace pastille::component::pst
