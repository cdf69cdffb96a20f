#pragma once

#include "check/MessageCheck.h"

namespace pastille::check {

/// Checks the attachment table of a message against its attachments, and those. Returns whether the message
/// has any. [MS-PST] 2.4.6
bool CheckAttachments(CHeapNode& message, unsigned depth);

}  // namespace pastille::check
