#include <gtest/gtest.h>

#include <QProcess>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "app/Host.h"
#include "app/Installation.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;

/// Changes a variable of the environment while it lives.
class CVariable {
public:
    CVariable(const char* name, const std::string& value) : m_name(name), m_old(qgetenv(name))
    {
        qputenv(name, QByteArray::fromStdString(value));
    }
    ~CVariable() { m_old.isNull() ? qunsetenv(m_name) : qputenv(m_name, m_old); }
    CVariable(const CVariable&) = delete;
    CVariable& operator=(const CVariable&) = delete;

private:
    const char* m_name;
    QByteArray m_old;
};

TEST(StartupHost, FindsARunningProgramByItsExactName)
{
    const CTemporaryFolder folder;
    app::CHost host;
    const auto runsMeanwhile = [&](const char* started, const char* asked) {
        fs::copy_file("/bin/sleep", folder / started);
        QProcess process;
        process.start(QString::fromStdString((folder / started).string()), {"600"});
        EXPECT_TRUE(process.waitForStarted());
        fs::remove(folder / started);  // as an update does to a program that runs
        const bool isRunning = host.IsRunning(asked);
        process.kill();
        process.waitForFinished();
        return isRunning;
    };
    EXPECT_FALSE(runsMeanwhile("outlook.exe", "OUTLOOK.EXE"));
    EXPECT_FALSE(runsMeanwhile("XOUTLOOK.EXE", "OUTLOOK.EXE"));
    EXPECT_TRUE(runsMeanwhile("OUTLOOK.EXE", "OUTLOOK.EXE"));
    EXPECT_FALSE(host.IsRunning("OUTLOOK.EXE"));
}

TEST(StartupHost, FindsMailFoldersOfWinePrefixes)
{
    const CTemporaryFolder home;
    const CVariable newHome("HOME", home.Path().string());
    const CVariable newPrefix("WINEPREFIX", (home / "prefix").string());
    const std::string local = "AppData/Local/Microsoft/Outlook";
    const fs::path inPrefix = home / "prefix/drive_c/users/B\xFCro";
    const fs::path inWine = home / ".wine/drive_c/users/ann";
    const fs::path inOther = home / ".local/share/wineprefixes/office/drive_c/users/bob";
    for (const fs::path& user : {inPrefix, inWine, inOther})
        fs::create_directories(user / local);
    // Newer prefixes have a link where older ones have the folder.
    fs::create_directory(inWine / "Local Settings");
    fs::create_directory_symlink(inWine / "AppData/Local", inWine / "Local Settings/Application Data");

    const auto folders = app::CHost().DefaultMailFolders();
    const auto position = [&](const fs::path& folder) {
        return std::find(folders.begin(), folders.end(), folder) - folders.begin();
    };
    const auto none = static_cast<std::ptrdiff_t>(folders.size());
    ASSERT_GE(none, 5);
    EXPECT_EQ(folders[0].filename(), "Outlook");
    EXPECT_EQ(folders[1].filename(), "Outlook Files");
    EXPECT_LT(position(inPrefix / local), position(inWine / local));
    EXPECT_LT(position(inWine / local), position(inOther / local));
    for (const char* folder : {local.c_str(), "Documents/Outlook Files", "My Documents/Outlook Files"})
        EXPECT_LT(position(inOther / folder), none) << folder;
    EXPECT_EQ(position(inWine / "Local Settings/Application Data/Microsoft/Outlook"), none)
        << "named a second time";
}

TEST(StartupHost, TakesTheFirstLanguageThatTheUserWants)
{
    const CVariable locale("LC_ALL", "de_AT.UTF-8");
    app::CHost host;
    const CVariable languages("LANGUAGE", "pt_BR:fr");
    EXPECT_EQ(host.UserInterfaceLanguage(), 0x0416u);
    EXPECT_EQ(host.UserLocale(), 0x0C07u);
    const CVariable unset("LANGUAGE", "");
    EXPECT_EQ(host.UserInterfaceLanguage(), 0x0C07u);
    // Beside the locale of no language it does not count.
    const CVariable again("LANGUAGE", "fr");
    const CVariable none("LC_ALL", "C.UTF-8");
    EXPECT_EQ(host.UserInterfaceLanguage(), 0u);
}

TEST(StartupHost, ListsDrivesThatHoldFiles)
{
    app::CHost host;
    const auto drives = host.Drives();
    EXPECT_NE(std::find(drives.begin(), drives.end(), "/"), drives.end());
    EXPECT_TRUE(std::is_sorted(drives.begin(), drives.end()));
    for (const fs::path& drive : drives) {
        EXPECT_TRUE(fs::is_directory(drive)) << drive;
        for (const char* system : {"/proc", "/sys", "/dev"})
            EXPECT_NE(drive.string().rfind(system, 0), 0u) << drive;
    }
    EXPECT_FALSE(host.IsRemovableDrive("/"));
    EXPECT_EQ(host.InstallationFolder(), fs::read_symlink("/proc/self/exe").parent_path().parent_path());
}

TEST(StartupHost, FindsItsFilesWhereverItIsInstalled)
{
    const CTemporaryFolder folder;
    const fs::path prefix = folder.MakeFolder("usr");
    const fs::path program = prefix / "bin/pastille-gui";
    // Alone among programs of others, whose folder is not for settings.
    EXPECT_FALSE(app::InstallationOf(program).isOwn);
    // A tree of its own, as the one that it is built in.
    fs::create_directory(prefix / "Lang");
    const app::Installation tree = app::InstallationOf(program);
    EXPECT_EQ(tree.folder, prefix);
    EXPECT_EQ(tree.manual, prefix / "docs/manual");
    EXPECT_TRUE(tree.isOwn);
    fs::create_directories(prefix / "share/pastille/Lang");
    const app::Installation package = app::InstallationOf(program);
    EXPECT_EQ(package.folder, prefix / "share/pastille");
    EXPECT_EQ(package.manual, prefix / "share/doc/pastille/manual");
    EXPECT_FALSE(package.isOwn);
    // Without its own path nothing is guessed from the working folder.
    EXPECT_TRUE(app::InstallationOf("").folder.empty());
    EXPECT_FALSE(app::InstallationOf("bin/pastille-gui").isOwn);
}

TEST(StartupHost, TellsWhyAFileCannotBeOpened)
{
    const CTemporaryFolder folder;
    folder.WriteFile("file", "x");
    const QString base = QString::fromStdString(folder.Path().string());
    app::CHost host;
    EXPECT_EQ(host.Open(base + "/missing"), 2);
    EXPECT_EQ(host.Open(base + "/no folder/missing"), 3);
    EXPECT_EQ(host.Open(base + "/file/missing"), 3);
    EXPECT_EQ(host.Open("file://" + base + "/b%FCro%20x"), 2);
    EXPECT_FALSE(host.StartProgram(folder / "missing", {}));
    EXPECT_FALSE(host.StartProgram(folder / "file", {}));
}

}  // namespace
}  // namespace pastille::tests
