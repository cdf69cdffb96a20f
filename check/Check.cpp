#include "check/Check.h"

#include "check/Database.h"
#include "check/Messaging.h"

namespace pastille::check {

bool CheckStore(platform::IByteSource& source, IFindings& findings)
{
    CDatabase database(source, findings);
    if (!database.Open())
        return false;
    database.CheckReferences();
    CheckMessaging(database, findings);
    return true;
}

}  // namespace pastille::check
