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

QString ShownPath(const std::filesystem::path& path)
{
    QString text = QString::fromStdString(path.native());
    for (QChar& c : text) {
        if (Misleads(c))
            c = QChar::ReplacementCharacter;
    }
    return text;
}

}  // namespace pastille::app
