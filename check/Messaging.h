#pragma once

#include "check/Database.h"
#include "check/Finding.h"

namespace pastille::check {

/// Checks everything that stands on the node database: heaps, BTHs, property contexts and tables, the
/// name-to-id map, the store, its folders and messages. REQUIRES: the database is open and its references
/// were checked. Time grows with the nodes and blocks, however often something refers to them. Memory: a few
/// tens of bytes for each node and row. [MS-PST] 2.3, 2.4
void CheckMessaging(CDatabase& database, IFindings& findings);

}  // namespace pastille::check
