#include "app/HostPath.h"

#include <QFile>

#include "preview/ShownText.h"

namespace pastille::app {

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
    return preview::ShownText(
        QString::fromStdString(path.native()).replace(u'\n', QChar::ReplacementCharacter));
}

}  // namespace pastille::app
