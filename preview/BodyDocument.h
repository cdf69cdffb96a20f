#pragma once

#include <QByteArray>
#include <QFont>
#include <QPalette>

#include "preview/BodyReader.h"

namespace pastille::preview {

/// A body as an HTML document in UTF-8 that asks for nothing but its own text and the images of its mail
/// ("cid:", "data:"). What could make a view ask for more, even in frames and hints that no policy and no
/// interceptor sees, is not in it any more. Plain text becomes text and nothing else, in the colours and font
/// given.
QByteArray MakeBodyDocument(const MailBody& body, const QPalette& palette, const QFont& font);

/// A text that lines and characters can be told of: line ends are '\n', other controls, and bytes that are no
/// text, are U+FFFD; lines of more than 8,000 units are broken. Marks for the direction of writing stay,
/// unlike in ShownText: mails in right-to-left scripts need them, and there is nothing beside a body that
/// they could mislead about.
QString ReadableText(std::u16string_view text);

/// What stands below a text that is cut.
QString CutNotice();

}  // namespace pastille::preview
