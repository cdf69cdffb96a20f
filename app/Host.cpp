#include "app/Host.h"

#include "app/WineFolders.h"
#include "platform/Host.h"
#include "platform/Language.h"
#include "platform/Processes.h"

#include <QDesktopServices>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
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

fs::path PathFrom(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

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

bool IsBelow(std::string_view path, std::string_view folder)
{
    return path == folder || (path.starts_with(folder) && path.substr(folder.size()).starts_with('/'));
}

/// False for what holds no files of users, only views of the system.
bool CanHoldFiles(const QStorageInfo& volume)
{
    static constexpr std::array<std::string_view, 14> kPseudo = {
        "autofs",  "binfmt_misc", "cgroup", "cgroup2", "configfs", "devtmpfs", "efivarfs",
        "fusectl", "mqueue",      "nsfs",   "proc",    "ramfs",    "squashfs", "sysfs"};
    static constexpr std::array<std::string_view, 3> kSystem = {"/dev", "/proc", "/sys"};
    const std::string type = volume.fileSystemType().toStdString();
    const std::string root = PathFrom(volume.rootPath()).string();
    const auto contains = [](const auto& list, const std::string& text) {
        return std::find(list.begin(), list.end(), text) != list.end();
    };
    const auto isSystem = [&](std::string_view folder) { return IsBelow(root, folder); };
    std::error_code error;
    return volume.isValid() && volume.isReady() && !contains(kPseudo, type) &&
           std::none_of(kSystem.begin(), kSystem.end(), isSystem) &&
           (!IsBelow(root, "/run") || IsBelow(root, "/run/media")) && fs::is_directory(root, error);
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

}  // namespace

fs::path CHost::InstallationFolder()
{
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path().parent_path();
}

fs::path CHost::ConfigFolder()
{
    return platform::UserConfigFolder();
}

fs::path CHost::DataFolder()
{
    return platform::UserDataFolder();
}

unsigned CHost::OsMajorVersion()
{
    return platform::OsMajorVersion();
}

std::uint32_t CHost::UserInterfaceLanguage()
{
    return platform::LanguageIdentifier(platform::LocaleFrom({"LC_ALL", "LC_MESSAGES", "LANG"}));
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
    AddOnce(folders, PathFrom(Paths::writableLocation(Paths::GenericDataLocation)) / "Microsoft/Outlook");
    AddOnce(folders, PathFrom(Paths::writableLocation(Paths::DocumentsLocation)) / "Outlook Files");
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
    for (const QStorageInfo& volume : QStorageInfo::mountedVolumes()) {
        if (CanHoldFiles(volume))
            roots.push_back(PathFrom(volume.rootPath()));
    }
    std::sort(roots.begin(), roots.end());
    roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
    return roots;
}

bool CHost::IsRemovableDrive(const fs::path& root)
{
    const QStorageInfo volume(QFile::decodeName(QByteArray::fromStdString(root.string())));
    const QByteArray device = volume.device();
    const auto isNumbered = [&](const char* prefix) {
        const QByteArray rest = device.mid(static_cast<qsizetype>(std::string_view(prefix).size()));
        return device.startsWith(prefix) && !rest.isEmpty() && rest[0] >= '0' && rest[0] <= '9';
    };
    return PathFrom(volume.rootPath()) == root && (isNumbered("/dev/fd") || isNumbered("/dev/sr"));
}

bool CHost::StartProgram(const fs::path& program, const QStringList& arguments)
{
    return QProcess::startDetached(QFile::decodeName(QByteArray::fromStdString(program.string())), arguments);
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
