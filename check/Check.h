#pragma once

#include "check/Finding.h"
#include "platform/FileSystem.h"

namespace pastille::check {

/// Checks a PST or OST of any of the three variants from its header down, as [MS-PST] describes it, and notes
/// whatever breaks a rule. The file is only read, and nothing in it is trusted. Returns false when the file
/// is no store that could be read at all. Memory: tens of bytes for each block, node and message.
bool CheckStore(platform::IByteSource& source, IFindings& findings);

}  // namespace pastille::check
