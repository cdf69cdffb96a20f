#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/messaging/Message.h"
#include "component/pst/ndb/NdbWriter.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// What becomes an attachment by value. Names are data: nothing in them is a path here.
struct AttachmentFile {
    platform::IByteStream& content;
    std::u16string_view fileName;
    std::u16string_view displayName;
    /// When the bytes begin like a picture, the attachment becomes the picture of its contact.
    bool mayBeContactPhoto = false;
};

// Both raise CStoreError (TooLarge) for a number (from 0) that a message's subnodes have no room for.

/// Copies the bytes of a stream into the store as attachment number `number`. Raises CStoreError (TooLarge)
/// when there are more than 2^31 - 1.
Attachment WriteFileAttachment(CNdbWriter& writer, const AttachmentFile& file, std::uint32_t number);
/// Writes a message as it is now as an embedded one, with its own recipients and attachments. Completes the
/// draft; the bytes of its long values and attachments are shared with it. [MS-PST] 2.4.6.2.2
Attachment WriteEmbeddedMessage(CNdbWriter& writer, MessageDraft& message, std::u16string_view displayName,
                                std::uint32_t number);
/// An attachment of a message that stands in the store.
Attachment ReadAttachment(INodeDatabase& database, const NodeRecord& subnode);

/// A name of at most 8 characters, a dot and 3 more, for PidTagAttachFilename.
std::u16string ShortFileName(std::u16string_view name);

}  // namespace pastille::component::pst
