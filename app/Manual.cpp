#include "app/Manual.h"

#include <QFile>
#include <QUrl>

#include <system_error>

namespace pastille::app {

std::filesystem::path ManualPage(IHost& host, const char* name)
{
    return host.ManualFolder() / name;
}

std::filesystem::path HelpFile(IHost& host)
{
    for (const auto& file : {host.InstallationFolder() / "pastille.chm", ManualPage(host, "index.html")}) {
        std::error_code error;
        if (std::filesystem::exists(file, error))
            return file;
    }
    return {};
}

QString FileAddress(const std::filesystem::path& path)
{
    // Percent-encoded by hand: a path may have bytes that are no UTF-8.
    const std::string& bytes = path.native();
    return QStringLiteral("file://") +
           QString::fromLatin1(
               QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())).toPercentEncoding("/"));
}

}  // namespace pastille::app
