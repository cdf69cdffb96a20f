#pragma once

#include "check/MessagingRun.h"

namespace pastille::check {

/// Checks that the nodes of every store are there, the template tables, the message store's own properties,
/// the receive folder table and the lists of searches. [MS-PST] 2.4.3, 2.7
void CheckStoreNodes(CMessagingRun& run);

}  // namespace pastille::check
