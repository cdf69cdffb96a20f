#pragma once

#include "check/FolderTree.h"

namespace pastille::check {

/// Checks the contents tables of a folder and its messages as their rows list them. [MS-PST] 2.4.4.5, 2.4.4.6
void CheckFolderContents(CMessagingRun& run, CFolderTree& folders, FolderFacts& folder);
/// Checks the messages that no row stands for.
void CheckUnlistedMessages(CMessagingRun& run, CFolderTree& folders);

}  // namespace pastille::check
