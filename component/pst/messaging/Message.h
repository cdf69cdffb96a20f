#pragma once

#include <cstdint>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/messaging/Recipients.h"
#include "component/pst/ndb/NdbWriter.h"

namespace pastille::component::pst {

/// An attachment that stands in the file as a subnode, complete, whether or not a message has it yet.
struct Attachment {
    format::Nid nid;
    format::Bid data;
    format::Bid sub;
    std::uint64_t totalSize = 0;  ///< data bytes of the subnode and of all subnodes below it
    CPropertyBag row{};           ///< its cells of the attachment table
    unsigned nesting = 0;         ///< messages in it below one another
    bool isContactPhoto = false;  ///< PidTagAttachmentContactPhoto
};

/// A message that is being made or changed: what Save writes. Values that are already in the file are trees.
struct MessageDraft {
    CPropertyBag properties;
    std::vector<Attachment> attachments;
    CRecipients recipients{};
};

/// A message written as the content of a node or subnode.
struct WrittenMessage {
    NodeContent content;
    std::uint64_t size = 0;  ///< PidTagMessageSize: data bytes of the node and of all its subnodes
};

/// Writes a message with its recipient table and, when it has attachments, its attachment table. Completes
/// the draft: PidTagMessageSize, the attachment bit of PidTagMessageFlags, and long values become trees.
/// [MS-PST] 2.4.5
WrittenMessage WriteMessage(CNdbWriter& writer, MessageDraft& draft);

/// A message read back so that it can be changed and written again.
MessageDraft ReadDraft(INodeDatabase& database, const NodeRecord& node);

}  // namespace pastille::component::pst
