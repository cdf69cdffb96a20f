#include "check/Messaging.h"

#include "check/FolderCheck.h"
#include "check/MessagingRun.h"
#include "check/NameMapCheck.h"
#include "check/StoreCheck.h"
#include "format/Ids.h"

namespace pastille::check {

void CheckMessaging(CDatabase& database, IFindings& findings)
{
    CMessagingRun run(database, findings);
    // The map first: all other nodes use its names.
    if (const auto* const map = database.FindNode(format::nids::kNameToIdMap.value))
        CheckNameMap(run, *map);
    CheckStoreNodes(run);
    CheckFolders(run);
    run.CheckRowVersions();
}

}  // namespace pastille::check
