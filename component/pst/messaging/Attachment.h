#pragma once

#include <cstdint>
#include <optional>
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

/// An attachment that is being made as it is given, property by property.
struct AttachmentDraft {
    CPropertyBag properties;
    /// What PidTagAttachDataObject leads to, written already.
    struct Object {
        format::Nid nid;
        format::Bid data;
        format::Bid sub{};
        std::uint64_t size = 0;  ///< data bytes of the subnode and of all subnodes below it
        unsigned nesting = 0;    ///< messages in it below one another, itself included
    };
    std::optional<Object> object;
};

/// Messages below one another that an attachment may hold: of those made by AddWholeMessage and the like.
inline constexpr unsigned kDeepestWholeNesting = 1000;

// All raise CStoreError (TooLarge) for a number (from 0) that a message's subnodes have no room for.

/// Copies the bytes of a stream into the store as attachment number `number`. Raises CStoreError (TooLarge)
/// when there are more than 2^31 - 1.
Attachment WriteFileAttachment(CNdbWriter& writer, const AttachmentFile& file, std::uint32_t number);
/// Writes a message as it is now as an embedded one, with its own recipients and attachments. Completes the
/// draft; the bytes of its long values and attachments are shared with it. [MS-PST] 2.4.6.2.2
Attachment WriteEmbeddedMessage(CNdbWriter& writer, MessageDraft& message, std::u16string_view displayName,
                                std::uint32_t number);
/// Writes an attachment as it is given, with what every attachment has to have: its size and number, a
/// rendering position (none) and a method that fits its contents.
Attachment WriteWholeAttachment(CNdbWriter& writer, AttachmentDraft& draft, std::uint32_t number);
/// Copies a stream into the store as the storage of an OLE attachment.
AttachmentDraft::Object WriteObject(CNdbWriter& writer, platform::IByteStream& content);
/// An attachment of a message that stands in the store.
Attachment ReadAttachment(INodeDatabase& database, const NodeRecord& subnode);

/// A name of at most 8 characters, a dot and 3 more, for PidTagAttachFilename.
std::u16string ShortFileName(std::u16string_view name);

}  // namespace pastille::component::pst
