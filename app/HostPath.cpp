#include "app/HostPath.h"

#include <QFile>

namespace pastille::app {
namespace {

bool Misleads(QChar c)
{
    const auto unit = c.unicode();
    return c.category() == QChar::Other_Control || (unit >= 0x202A && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069) || unit == 0x2028 || unit == 0x2029;
}

}  // namespace

std::filesystem::path ToPath(const QString& text)
{
    return QFile::encodeName(text).toStdString();
}

QString ToText(const std::filesystem::path& path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

QString ShownPath(const std::filesystem::path& path)
{
    return ShownText(QString::fromStdString(path.native()).replace(u'\n', QChar::ReplacementCharacter));
}

QString ShownText(QString text)
{
    for (QChar& c : text) {
        if (c != u'\n' && Misleads(c))
            c = QChar::ReplacementCharacter;
    }
    return text;
}

}  // namespace pastille::app
