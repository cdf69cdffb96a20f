#pragma once

#include <QString>
#include <QStringList>

#include <mutex>

#include "app/Host.h"

namespace pastille::tests {

/// A host with answers that a test chooses. What is started and opened is only written down.
class CTestHost final : public app::IHost {
public:
    /// A folder of the test's own, with everything in it; it must exist.
    explicit CTestHost(const std::filesystem::path& folder);

    std::filesystem::path InstallationFolder() override { return installationFolder; }
    std::filesystem::path ManualFolder() override { return installationFolder / "docs/manual"; }
    bool IsInstallationOwn() override { return isInstallationOwn; }
    std::filesystem::path ConfigFolder() override { return configFolder; }
    std::filesystem::path DataFolder() override { return dataFolder; }
    std::filesystem::path RuntimeFolder() override { return runtimeFolder; }
    unsigned OsMajorVersion() override { return osMajorVersion; }
    std::uint32_t UserInterfaceLanguage() override { return userInterfaceLanguage; }
    std::uint32_t UserLocale() override { return userLocale; }
    std::string SystemLocaleName() override { return "en-US"; }
    bool IsRunning(const std::string& name) override { return name == runningProcess; }
    std::vector<std::filesystem::path> DefaultMailFolders() override { return mailFolders; }
    std::filesystem::path ProgramFilesFolder() override { return programFilesFolder; }
    std::vector<std::filesystem::path> Drives() override { return drives; }
    bool IsRemovableDrive(const std::filesystem::path& root) override { return root == removableDrive; }
    bool StartProgram(const std::filesystem::path& program, const QStringList& arguments) override;
    int Open(const QString& address) override;

    /// What was started ("program argument ...") and opened since the last call.
    QStringList TakeStarted();
    QStringList TakeOpened();

    std::filesystem::path installationFolder, configFolder, dataFolder, runtimeFolder;
    bool isInstallationOwn = true;
    unsigned osMajorVersion = 10;
    std::uint32_t userInterfaceLanguage = 0x0409;
    std::uint32_t userLocale = 0x0409;
    std::string runningProcess;
    std::vector<std::filesystem::path> mailFolders, drives;
    std::filesystem::path programFilesFolder = "/programs";
    std::filesystem::path removableDrive = "/media/removable";
    int openResult = 42;
    QString missingProgram;  ///< cannot be started

private:
    std::mutex m_mutex;
    QStringList m_started, m_opened;
};

}  // namespace pastille::tests
