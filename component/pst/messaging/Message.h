#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ndb/NdbWriter.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// An attachment that stands in the file as a subnode, complete, whether or not a message has it yet.
struct Attachment {
    format::Nid nid;
    format::Bid data;
    format::Bid sub;
    std::uint64_t totalSize = 0;  ///< data bytes of the subnode and of all subnodes below it
    CPropertyBag row;             ///< its cells of the attachment table
};

/// A message that is being made or changed: what Save writes. Values that are already in the file are trees.
struct MessageDraft {
    CPropertyBag properties;
    std::vector<Attachment> attachments;
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

/// Copies the bytes of a host file into the store as attachment number `number` (from 0). Raises CStoreError
/// when there are more than 2^31 - 1 bytes or when fewer can be read than the file has.
Attachment WriteFileAttachment(CNdbWriter& writer, platform::IByteSource& source, std::u16string_view name,
                               std::uint32_t number);
/// Writes a message as it is now as an embedded one, with its own recipients and attachments. Completes the draft;
/// the bytes of its long values and attachments are shared with it. [MS-PST] 2.4.6.2.2
Attachment WriteEmbeddedMessage(CNdbWriter& writer, MessageDraft& message, std::u16string_view name,
                                std::uint32_t number);

/// A message read back so that it can be changed and written again.
MessageDraft ReadDraft(INodeDatabase& database, const NodeRecord& node);

/// A name of at most 8 characters, a dot and 3 more, for PidTagAttachFilename.
std::u16string ShortFileName(std::u16string_view name);

}  // namespace pastille::component::pst
