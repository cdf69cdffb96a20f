#pragma once

#include <cstdint>
#include <functional>

#include "check/MessagingRun.h"
#include "check/PropertyCheck.h"

namespace pastille::check {

/// A message: a node, or a subnode of an attachment.
struct MessageNode {
    const Place& place;
    std::uint64_t data;
    std::uint64_t sub;
    bool isAssociated = false;
};

/// Checks a message with its recipients, attachments and the messages embedded in those. `visit` is called
/// with its properties when it has any. [MS-PST] 2.4.5, 2.4.6
void CheckMessage(CMessagingRun& run, const MessageNode& message,
                  const std::function<void(CPropertyContext&)>& visit);

}  // namespace pastille::check
