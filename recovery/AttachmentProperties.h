#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "recovery/SourceItem.h"

namespace pastille::recovery {

/// What the property context of an attachment says of it. [MS-OXCMSG] 2.2.2
struct AttachmentProperties {
    std::u16string displayName;       ///< without separators
    std::u16string name;              ///< the display name where it can name a file
    std::u16string fileName;          ///< as it stands: data, never used as the name of a file
    std::u16string spareName;         ///< the file name that the rules pass over
    bool hasDisplayNameOnly = false;  ///< a display name, and no file name after it
    std::optional<std::uint32_t> method;
    std::optional<store::PropertyRecord> data;  ///< PidTagAttachDataBinary

    /// True for an attached message. The method decides where it is there and says so; else an attachment
    /// with a display name and without a long file name is one.
    bool IsEmbedded() const;
    /// True when a property says so.
    bool SaysEmbedded() const;
    /// True when a property says that there are bytes.
    bool IsByValue() const;
    /// The name of the new attachment's file; empty when the attachment has none and need not have one.
    std::u16string FileName() const;
};

/// Walks the records of an opened attachment.
AttachmentProperties ReadAttachmentProperties(CSourceItem& attachment);

}  // namespace pastille::recovery
