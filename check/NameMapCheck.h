#pragma once

#include "check/MessagingRun.h"

namespace pastille::check {

/// Checks the name-to-id map and notes in the run how many names it has. REQUIRES: the node is there.
/// [MS-PST] 2.4.7
void CheckNameMap(CMessagingRun& run, const CDatabase::Node& node);

}  // namespace pastille::check
