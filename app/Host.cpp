#include "app/Host.h"

#include "app/HostPath.h"
#include "app/Installation.h"
#include "app/WineFolders.h"
#include "platform/Host.h"
#include "platform/Language.h"
#include "platform/MountTable.h"
#include "platform/Processes.h"

#include <QDesktopServices>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace pastille::app {
namespace {

namespace fs = std::filesystem;

// What Open returns, by the meaning that shells give these numbers.
constexpr int kOpened = 33;
constexpr int kFileNotFound = 2;
constexpr int kPathNotFound = 3;
constexpr int kAccessDenied = 5;
constexpr int kNoProgram = 31;

/// A folder that is there already is named once, whatever links lead to it.
void AddOnce(std::vector<fs::path>& folders, const fs::path& folder)
{
    const bool known = std::any_of(folders.begin(), folders.end(), [&](const fs::path& other) {
        std::error_code error;
        return other == folder || (fs::equivalent(other, folder, error) && !error);
    });
    if (!known)
        folders.push_back(folder);
}

bool IsSchemeOfTheWeb(const QString& scheme)
{
    return scheme == QLatin1String("http") || scheme == QLatin1String("https") ||
           scheme == QLatin1String("mailto");
}

/// 0 when the file or folder can be read, else what is wrong with it.
int ErrorOfOpening(const QByteArray& path)
{
    if (::access(path.constData(), R_OK) == 0)
        return 0;
    const int reason = errno;
    if (reason == EACCES)
        return kAccessDenied;
    std::error_code error;
    const fs::path folder = fs::path(path.toStdString()).parent_path();
    return reason == ENOENT && fs::is_directory(folder, error) ? kFileNotFound : kPathNotFound;
}

Installation HostInstallation()
{
    std::error_code error;
    return InstallationOf(fs::read_symlink("/proc/self/exe", error));
}

}  // namespace

fs::path CHost::InstallationFolder()
{
    return HostInstallation().folder;
}

fs::path CHost::ManualFolder()
{
    return HostInstallation().manual;
}

bool CHost::IsInstallationOwn()
{
    return HostInstallation().isOwn;
}

fs::path CHost::ConfigFolder()
{
    return platform::UserConfigFolder();
}

fs::path CHost::DataFolder()
{
    return platform::UserDataFolder();
}

fs::path CHost::RuntimeFolder()
{
    return platform::UserRuntimeFolder();
}

unsigned CHost::OsMajorVersion()
{
    return platform::OsMajorVersion();
}

std::uint32_t CHost::UserInterfaceLanguage()
{
    return platform::LanguageIdentifier(platform::MessageLocale());
}

std::uint32_t CHost::UserLocale()
{
    return platform::LanguageIdentifier(platform::LocaleFrom({"LC_ALL", "LC_TIME", "LANG"}));
}

std::string CHost::SystemLocaleName()
{
    return platform::LanguageAndCountry(platform::LocaleFrom({"LANG", "LC_ALL"}));
}

bool CHost::IsRunning(const std::string& name)
{
    return platform::IsProcessRunning(name);
}

std::vector<fs::path> CHost::DefaultMailFolders()
{
    using Paths = QStandardPaths;
    std::vector<fs::path> folders;
    AddOnce(folders, ToPath(Paths::writableLocation(Paths::GenericDataLocation)) / "Microsoft/Outlook");
    AddOnce(folders, ToPath(Paths::writableLocation(Paths::DocumentsLocation)) / "Outlook Files");
    for (const fs::path& prefix : WinePrefixes()) {
        for (const fs::path& folder : WineMailFolders(prefix))
            AddOnce(folders, folder);
    }
    return folders;
}

fs::path CHost::ProgramFilesFolder()
{
    const auto prefixes = WinePrefixes();
    return (prefixes.empty() ? fs::path("/") : prefixes.front()) / "drive_c/Program Files";
}

std::vector<fs::path> CHost::Drives()
{
    std::vector<fs::path> roots;
    for (const platform::Mount& mount : platform::Mounts()) {
        if (platform::CanHoldUserFiles(mount))
            roots.emplace_back(mount.root);
    }
    return roots;
}

bool CHost::IsRemovableDrive(const fs::path& root)
{
    const auto mounts = platform::Mounts();
    return std::ranges::any_of(mounts, [&](const platform::Mount& mount) {
        return mount.root == root.native() && platform::IsRemovable(mount);
    });
}

bool CHost::StartProgram(const fs::path& program, const QStringList& arguments)
{
    return QProcess::startDetached(ToText(program), arguments);
}

int CHost::Open(const QString& address)
{
    QUrl url(address);
    if (!IsSchemeOfTheWeb(url.scheme().toLower())) {
        const bool isAddress = url.isLocalFile();
        const QByteArray path = isAddress
                                    ? QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1())
                                    : QFile::encodeName(address);
        if (const int error = ErrorOfOpening(path); error != 0)
            return error;
        if (!isAddress)
            url = QUrl::fromLocalFile(address);
    }
    return QDesktopServices::openUrl(url) ? kOpened : kNoProgram;
}

}  // namespace pastille::app
