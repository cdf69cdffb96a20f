#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace pastille::app {

/// What the desktop program asks of the host beside files and windows. Tests put other answers in its place.
class IHost {
public:
    virtual ~IHost() = default;

    /// The folder of the program's own files (Lang/).
    virtual std::filesystem::path InstallationFolder() = 0;
    /// The folder of the manual's pages; need not exist.
    virtual std::filesystem::path ManualFolder() = 0;
    /// True when settings may be kept in the installation folder, which is then the program's own.
    virtual bool IsInstallationOwn() = 0;
    /// Per-user folder for settings and registry; need not exist.
    virtual std::filesystem::path ConfigFolder() = 0;
    /// Per-user folder for data; need not exist.
    virtual std::filesystem::path DataFolder() = 0;
    /// Per-user folder for the lock that lets one instance run; need not exist.
    virtual std::filesystem::path RuntimeFolder() = 0;
    /// Major version of the operating system.
    virtual unsigned OsMajorVersion() = 0;
    /// Windows language identifier of the user's interface language, as 0x040C; 0 when it is not known.
    virtual std::uint32_t UserInterfaceLanguage() = 0;
    /// The same of the user's locale for formats.
    virtual std::uint32_t UserLocale() = 0;
    /// ISO 639 language and ISO 3166 country of the system's locale, as "en-US".
    virtual std::string SystemLocaleName() = 0;
    /// True when a process runs whose program file or own name is exactly `name`.
    virtual bool IsRunning(const std::string& name) = 0;
    /// Folders in which mail programs keep their stores: the platform's own, then those of the user's Wine
    /// prefixes. Those that do not exist may be among them.
    virtual std::vector<std::filesystem::path> DefaultMailFolders() = 0;
    /// Where Windows programs are installed for the user; need not exist.
    virtual std::filesystem::path ProgramFilesFolder() = 0;
    /// Roots of the mounted file systems that can hold a user's files, sorted, without repetitions. They are
    /// not touched: one of a server that no longer answers is among them and holds nothing up.
    virtual std::vector<std::filesystem::path> Drives() = 0;
    /// True when the drive at this root can be taken out while a search runs (a floppy, an optical disc).
    /// The drive is not touched.
    virtual bool IsRemovableDrive(const std::filesystem::path& root) = 0;
    /// Starts a program without waiting for it. False when there is none or it cannot be started.
    virtual bool StartProgram(const std::filesystem::path& program, const QStringList& arguments) = 0;
    /// Opens a file, folder or web address with the program that the host has for it. Above 32 when that went
    /// well, else why not: 2 no such file, 3 no such folder on the way to it, 5 not permitted, 31 no program
    /// for it.
    virtual int Open(const QString& address) = 0;
};

/// The host's own answers. Uses the services of QGuiApplication, which must be there.
class CHost final : public IHost {
public:
    std::filesystem::path InstallationFolder() override;
    std::filesystem::path ManualFolder() override;
    bool IsInstallationOwn() override;
    std::filesystem::path ConfigFolder() override;
    std::filesystem::path DataFolder() override;
    std::filesystem::path RuntimeFolder() override;
    unsigned OsMajorVersion() override;
    std::uint32_t UserInterfaceLanguage() override;
    std::uint32_t UserLocale() override;
    std::string SystemLocaleName() override;
    bool IsRunning(const std::string& name) override;
    std::vector<std::filesystem::path> DefaultMailFolders() override;
    std::filesystem::path ProgramFilesFolder() override;
    std::vector<std::filesystem::path> Drives() override;
    bool IsRemovableDrive(const std::filesystem::path& root) override;
    bool StartProgram(const std::filesystem::path& program, const QStringList& arguments) override;
    /// A local file may also be given as a file: address, in which any byte of its name can stand (%FF).
    int Open(const QString& address) override;
};

}  // namespace pastille::app
