#pragma once

#include <cstdint>
#include <vector>

#include "check/HeapNode.h"

namespace pastille::check {

/// A message that an attachment holds, to be checked after the one around it: however deep messages are in
/// one another, they take no room on the stack.
struct EmbeddedMessage {
    std::uint32_t attachment;  ///< NID of the attachment's subnode
    std::uint32_t nid;         ///< of the message, below that
    std::uint64_t data;
    std::uint64_t sub;
    std::uint64_t statedSize;  ///< what the attachment says of it
};

/// Checks the attachment table of a message against its attachments, and those but for the messages in them,
/// which are added to `embedded`. Returns whether the message has any. [MS-PST] 2.4.6
bool CheckAttachments(CHeapNode& message, std::vector<EmbeddedMessage>& embedded);

}  // namespace pastille::check
