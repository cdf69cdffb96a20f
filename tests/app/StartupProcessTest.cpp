#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "app/Host.h"
#include "tests/app/ForeignWindows.h"
#include "tests/app/Person.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;

constexpr int kPatienceMs = 30'000;

/// The installed program in a process of its own. It is ended with the object.
class CProgram {
public:
    explicit CProgram(const fs::path& home)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PASTILLE_HOME"), QString::fromStdString(home.string()));
        environment.insert(QStringLiteral("HOME"), QString::fromStdString(home.string()));
        environment.remove(QStringLiteral("WINEPREFIX"));
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("fr_BE.UTF-8"));
        environment.remove(QStringLiteral("LANGUAGE"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start(QStringLiteral(PASTILLE_GUI_PROGRAM), QStringList());
        EXPECT_TRUE(m_process.waitForStarted(kPatienceMs));
    }
    ~CProgram()
    {
        m_process.kill();
        m_process.waitForFinished(kPatienceMs);
    }
    CProgram(const CProgram&) = delete;
    CProgram& operator=(const CProgram&) = delete;

    void ShowsWindow(const std::string& title)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
        while (!HasWindow(title) && IsRunning() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_TRUE(HasWindow(title)) << title;
    }
    bool HasWindow(const std::string& title) const
    {
        const auto titles = WindowTitles(m_process.processId());
        return std::find(titles.begin(), titles.end(), title) != titles.end();
    }
    bool IsRunning() { return !m_process.waitForFinished(0) && m_process.state() == QProcess::Running; }
    void Presses(const std::string& title, char letter)
    {
        ShowsWindow(title);
        EXPECT_TRUE(PressAltIn(m_process.processId(), title, letter));
    }
    void EndsBy(int signal)
    {
        ::kill(static_cast<pid_t>(m_process.processId()), signal);
        EXPECT_TRUE(m_process.waitForFinished(kPatienceMs));
        EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(m_process.exitCode(), 0);
    }
    void IsRefusedIn(const std::string& title)
    {
        ShowsWindow(title);
        EXPECT_TRUE(CloseWindowOf(m_process.processId(), title));
        EXPECT_TRUE(m_process.waitForFinished(kPatienceMs));
        EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(m_process.exitCode(), 1);
    }

private:
    QProcess m_process;
};

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

struct EndProcess {
    void operator()(QProcess* process) const
    {
        process->kill();
        process->waitForFinished(kPatienceMs);
        delete process;
    }
};

/// A process that does nothing, started under a name.
std::unique_ptr<QProcess, EndProcess> StartNamed(const fs::path& folder, const std::string& name)
{
    fs::copy_file("/bin/sleep", folder / name);
    std::unique_ptr<QProcess, EndProcess> process(new QProcess);
    process->start(QString::fromStdString((folder / name).string()), {QStringLiteral("600")});
    EXPECT_TRUE(process->waitForStarted(kPatienceMs));
    return process;
}

TEST(StartupProcess, SecondStartIsRefusedUntilTheFirstDies)
{
    const CTemporaryFolder home;
    {
        CProgram first(home.Path());
        first.ShowsWindow("Pastille");
        CProgram second(home.Path());
        second.IsRefusedIn("Error");
        EXPECT_TRUE(first.IsRunning());
        EXPECT_TRUE(first.HasWindow("Pastille"));
    }
    // Killed, it leaves no lock behind.
    CProgram third(home.Path());
    third.ShowsWindow("Pastille");

    std::ifstream settings(home.Path() / "config/settings.ini");
    const std::string text{std::istreambuf_iterator<char>(settings), {}};
    EXPECT_TRUE(text.find("IDS_LANGUAGE=French\n") != std::string::npos) << text;
}

TEST(StartupProcess, ASignalEndsItWithoutAQuestion)
{
    const CTemporaryFolder home;
    CProgram program(home.Path());
    program.ShowsWindow("Pastille");
    program.EndsBy(SIGTERM);
}

TEST(StartupProcess, DialogsOfStartUpDoNotEndTheProgram)
{
    const CTemporaryFolder home;
    fs::create_directory(home.Path() / "config");
    std::ofstream(home.Path() / "config/registry.ini")
        << "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE]\n"
           "Default=x\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Office\\9.0\\Outlook\\Setup]\n"
           "MailSupport=dword:0\nRegisterForms=1\n";
    CProgram program(home.Path());
    program.Presses("Please read carefully", 'c');
    program.Presses("Disclaimer", 'a');
    program.ShowsWindow("Pastille");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));  // time to end by mistake
    EXPECT_TRUE(program.IsRunning());
}

TEST(StartupProcess, RunningMailClientIsFoundByItsExactName)
{
    const CTemporaryFolder folder;
    app::CHost host;
    {
        const auto lowerCase = StartNamed(folder.Path(), "outlook.exe");
        const auto longer = StartNamed(folder.Path(), "XOUTLOOK.EXE");
        EXPECT_TRUE(host.IsRunning("outlook.exe"));
        EXPECT_FALSE(host.IsRunning("OUTLOOK.EXE"));
    }
    EXPECT_FALSE(host.IsRunning("outlook.exe"));
    const auto client = StartNamed(folder.Path(), "OUTLOOK.EXE");
    EXPECT_TRUE(host.IsRunning("OUTLOOK.EXE"));
    fs::remove(folder.Path() / "OUTLOOK.EXE");  // as an update does to a program that runs
    EXPECT_TRUE(host.IsRunning("OUTLOOK.EXE"));
    CProgram(folder.Path() / "home").IsRefusedIn("Warning");
}

TEST(StartupProcess, HostFindsMailFoldersOfWinePrefixes)
{
    const CTemporaryFolder home;
    const CVariable newHome("HOME", home.Path().string());
    const CVariable newPrefix("WINEPREFIX", (home.Path() / "prefix").string());
    const std::string local = "AppData/Local/Microsoft/Outlook";
    const fs::path inPrefix = home.Path() / "prefix/drive_c/users/B\xFCro";
    const fs::path inWine = home.Path() / ".wine/drive_c/users/ann";
    const fs::path inOther = home.Path() / ".local/share/wineprefixes/office/drive_c/users/bob";
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
    EXPECT_LT(position(inOther / local), none);
    EXPECT_LT(position(inOther / "Documents/Outlook Files"), none);
    EXPECT_LT(position(inOther / "My Documents/Outlook Files"), none);
    EXPECT_EQ(position(inWine / "Local Settings/Application Data/Microsoft/Outlook"), none)
        << "named a second time";
}

TEST(StartupProcess, HostTakesTheFirstLanguageThatTheUserWants)
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

TEST(StartupProcess, HostListsDrivesThatHoldFiles)
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

TEST(StartupProcess, HostTellsWhyAFileCannotBeOpened)
{
    const CTemporaryFolder folder;
    std::ofstream(folder.Path() / "file") << "x";
    const QString base = QString::fromStdString(folder.Path().string());
    app::CHost host;
    EXPECT_EQ(host.Open(base + QStringLiteral("/missing")), 2);
    EXPECT_EQ(host.Open(base + QStringLiteral("/no folder/missing")), 3);
    EXPECT_EQ(host.Open(base + QStringLiteral("/file/missing")), 3);
    EXPECT_EQ(host.Open(QStringLiteral("file://") + base + QStringLiteral("/b%FCro%20x")), 2);
    EXPECT_FALSE(host.StartProgram(folder.Path() / "missing", {}));
    EXPECT_FALSE(host.StartProgram(folder.Path() / "file", {}));
}

}  // namespace
}  // namespace pastille::tests
