#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "writer/Component.h"

namespace pastille::preview {

/// The media type that the first bytes of a picture tell, of those that can be shown; "" for everything else,
/// also for drawings with markup in them.
std::string_view ImageTypeOf(std::span<const std::byte> bytes);

/// The images of one mail. Whoever calls it holds a CPreviewStore::CUse for as long as the call lasts; the
/// calls are short, so that others can read between them.
class CBodyImages {
public:
    explicit CBodyImages(writer::CRef<writer::IMessageItem> item);

    /// Looks at one more attachment. False when all that are looked at are known.
    bool LearnNext();
    /// Number of the attachment that a URL "cid:" names: by its content id; else, as stores without content
    /// ids keep mails, by a file name that stands before the "@". 0: none.
    std::int32_t Find(std::u16string_view contentId) const;
    /// Content of an attachment; nullptr when there is none of its own or it is too large for an image.
    std::unique_ptr<platform::IByteStream> Open(std::int32_t number);

private:
    struct Name {
        std::u16string contentId;
        std::u16string fileName;
    };

    writer::CRef<writer::IAttachmentList> m_attachments;
    std::int32_t m_count = 0;
    std::vector<Name> m_names;  ///< of the attachments from the first on
};

/// Bytes of an image that are read at most.
inline constexpr std::int64_t kLargestImage = 20 << 20;

}  // namespace pastille::preview
