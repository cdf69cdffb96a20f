#pragma once

#include <string>

#include "writer/Component.h"

namespace pastille::preview {

/// What a body is made of.
enum class BodyKind { None, Plain, Html };

/// The body of an item as it is shown: the whole of it, or its beginning.
struct MailBody {
    BodyKind kind = BodyKind::None;
    std::u16string text;
    bool isCut = false;
};

/// A body as the item keeps it.
struct StoredBody {
    enum class Form { None, Plain, Html, Rtf };
    Form form = Form::None;
    std::u16string text;  ///< of RTF: a unit for each of its bytes
    bool isCut = false;
    bool isPage = false;  ///< HTML that is small enough to be laid out as such
};

/// Reads the body that is shown of an item: its HTML when the whole item has at most 3 MiB, else its plain
/// text, else its RTF, else the HTML of a larger one. Of a value of any size a few MiB are read. A body that
/// cannot be read counts as missing when there is another one; else raises writer::_com_error.
StoredBody ReadBody(writer::IMessageItem& item);

/// What is shown of it. `asText`: HTML is reduced to its text as well, as that of larger items always is.
MailBody ToShownBody(StoredBody body, bool asText);

}  // namespace pastille::preview
