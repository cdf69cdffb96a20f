#include "preview/ShownText.h"

namespace pastille::preview {
namespace {

bool Misleads(QChar c)
{
    const auto unit = c.unicode();
    return c.category() == QChar::Other_Control || unit == 0x200E || unit == 0x200F || unit == 0x061C ||
           (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069) || unit == 0x2028 ||
           unit == 0x2029;
}

}  // namespace

QString ShownText(QString text)
{
    for (QChar& c : text) {
        if (c != u'\n' && Misleads(c))
            c = QChar::ReplacementCharacter;
    }
    return text;
}

QString ShownLine(std::u16string_view text)
{
    const bool isCut = text.size() > kLongestLine;
    QString line =
        QString::fromUtf16(text.data(), static_cast<qsizetype>(isCut ? kLongestLine : text.size()));
    for (QChar& c : line) {
        if (c == u'\n' || c == u'\r' || c == u'\t' || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = u' ';
    }
    line = ShownText(std::move(line));
    if (isCut)
        line.append(u'…');
    return line;
}

}  // namespace pastille::preview
