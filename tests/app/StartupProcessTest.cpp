#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "tests/app/ForeignWindows.h"
#include "tests/app/Person.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;

bool IsShown(const std::string& title)
{
    return std::ranges::count(WindowTitles(), title) > 0;
}

/// The installed program in a process of its own. It is ended with the object.
class CProgram {
public:
    explicit CProgram(const fs::path& home)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* variable : {"PASTILLE_HOME", "HOME"})
            environment.insert(variable, QString::fromStdString(home.string()));
        for (const char* variable : {"WINEPREFIX", "LANGUAGE"})
            environment.remove(variable);
        environment.insert("LC_ALL", "fr_BE.UTF-8");
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start(PASTILLE_GUI_PROGRAM, QStringList());
        EXPECT_TRUE(m_process.waitForStarted());
    }
    ~CProgram()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    CProgram(const CProgram&) = delete;
    CProgram& operator=(const CProgram&) = delete;

    bool IsRunning() { return !m_process.waitForFinished(0) && m_process.state() == QProcess::Running; }
    void Shows(const std::string& title)
    {
        EXPECT_TRUE(CPerson::WaitUntil([&] { return IsShown(title); })) << title;
        EXPECT_TRUE(IsRunning());
    }
    /// Until the window is gone: one that is not active yet overhears a key.
    void Presses(const std::string& title, char letter)
    {
        Shows(title);
        EXPECT_TRUE(CPerson::WaitUntil([&] {
            if (PressAltIn(title, letter))
                std::this_thread::sleep_for(std::chrono::milliseconds(500));
            return !IsShown(title);
        })) << title;
    }
    void Dies()
    {
        m_process.kill();
        m_process.waitForFinished();
        // The display takes its windows away a moment later.
        EXPECT_TRUE(CPerson::WaitUntil([] { return !IsShown("Pastille"); }));
    }
    void EndsBy(int signal)
    {
        ::kill(static_cast<pid_t>(m_process.processId()), signal);
        EndsWith(0);
    }
    void IsRefusedIn(const std::string& title)
    {
        Presses(title, 0);
        EndsWith(1);
    }

private:
    void EndsWith(int code)
    {
        EXPECT_TRUE(m_process.waitForFinished());
        EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(m_process.exitCode(), code);
    }
    QProcess m_process;
};

TEST(StartupProcess, SecondStartIsRefusedUntilTheFirstDies)
{
    const CTemporaryFolder home;
    CProgram first(home.Path());
    first.Shows("Pastille");
    CProgram(home.Path()).IsRefusedIn("Error");
    first.Shows("Pastille");
    // Killed, it leaves no lock behind.
    first.Dies();
    CProgram third(home.Path());
    third.Shows("Pastille");
    third.EndsBy(SIGTERM);  // without a question

    std::ifstream settings(home / "config/settings.ini");
    const std::string text{std::istreambuf_iterator<char>(settings), {}};
    EXPECT_TRUE(text.find("IDS_LANGUAGE=French\n") != std::string::npos) << text;
}

TEST(StartupProcess, DialogsOfStartUpDoNotEndTheProgram)
{
    const CTemporaryFolder home;
    home.MakeFolder("config");
    home.WriteFile("config/registry.ini",
                   "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\App "
                   "Paths\\OUTLOOK.EXE]\n"
                   "Default=x\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Office\\9.0\\Outlook\\Setup]\n"
                   "MailSupport=dword:0\nRegisterForms=1\n");
    CProgram program(home.Path());
    program.Presses("Please read carefully", 'c');
    program.Presses("Disclaimer", 'a');
    program.Shows("Pastille");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));  // time to end by mistake
    program.Shows("Pastille");
}

}  // namespace
}  // namespace pastille::tests
