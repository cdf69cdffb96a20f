#pragma once

#include "check/MessagingRun.h"

namespace pastille::check {

/// Checks every folder with its tables, every message that lies in one, and both against each other.
/// [MS-PST] 2.4.4
void CheckFolders(CMessagingRun& run);

}  // namespace pastille::check
