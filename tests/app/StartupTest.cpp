#include <QMessageBox>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;

const QString kNotInstalled = QStringLiteral(
    "Microsoft Office Outlook currently not installed or is not working,\n"
    "please reinstall Microsoft Office Outlook and relaunch the application.");
const QString kRunning = QStringLiteral(
    "Pastille can not continue because Microsoft office outlook is running.\n"
    "Please close the Microsoft office outlook.");
const QString kSecond = QStringLiteral(
    "Pastille is already running.\nPlease close the running instance to launch the application.");
const QString kWrongMode =
    QStringLiteral("Currently selected outlook mode (IMO) is not supported.Please change it to C/W mode.");

constexpr char kInstalledKey[] =
    "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE]\n";
constexpr char kInstalledKey32[] =
    "[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\App Paths\\"
    "OUTLOOK.EXE]\n";
constexpr char kSetupKey[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Office\\9.0\\Outlook\\Setup]\n";

fs::path RegistryFile(CDesktop& desktop)
{
    return desktop.Host().configFolder / "registry.ini";
}

void WriteRegistry(CDesktop& desktop, const std::string& text)
{
    fs::create_directories(desktop.Host().configFolder);
    std::ofstream(RegistryFile(desktop)) << text;
}

std::string ReadRegistry(CDesktop& desktop)
{
    std::ifstream file(RegistryFile(desktop));
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What start-up has returned once it ended: false after a refusal. True when it never ends.
bool Outcome(CDesktop& desktop)
{
    const auto end = std::chrono::steady_clock::now() + CPerson::kPatience;
    while (!desktop.Started() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return desktop.Started().value_or(true);
}

void ExpectRefusal(CDesktop& desktop, const QString& text, const QString& caption, QMessageBox::Icon icon)
{
    CPerson person;
    person.SeesWindow(caption);
    person.Sees(text);
    const auto shownIcon = CPerson::OnUi([] {
        const auto* box = qobject_cast<QMessageBox*>(CPerson::Window());
        return box != nullptr ? box->icon() : QMessageBox::NoIcon;
    });
    EXPECT_EQ(shownIcon, icon);
    person.ClosesWindow();
    EXPECT_FALSE(Outcome(desktop));
    person.SeesNoWindow();
}

struct Refusal {
    const char* what;
    QString text;
    std::string registry;      ///< none where it is empty
    const char* running = "";  ///< a process
};

TEST(Startup, EachRefusalSaysItsOwn)
{
    const std::string wrongMode =
        std::string(kInstalledKey) + kSetupKey + "MailSupport=dword:00000000\nRegisterForms=1\n";
    // Of several reasons the first in the order of the checks is told.
    const Refusal refusals[] = {
        {"not registered", kNotInstalled, "[HKEY_LOCAL_MACHINE\\Software]\n"},
        {"mail client runs", kRunning, "", "OUTLOOK.EXE"},
        {"not registered, and runs", kNotInstalled, "\n", "OUTLOOK.EXE"},
        {"runs, and has the wrong mode", kRunning, wrongMode, "OUTLOOK.EXE"},
    };
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        CDesktop desktop;
        if (!refusal.registry.empty())
            WriteRegistry(desktop, refusal.registry);
        desktop.Host().runningProcess = refusal.running;
        desktop.Begins();
        const bool runs = refusal.text == kRunning;
        ExpectRefusal(desktop, refusal.text, runs ? "Warning" : "Error",
                      runs ? QMessageBox::Warning : QMessageBox::Critical);
    }
}

TEST(Startup, FilesThatCannotBeWrittenRefuseIt)
{
    const std::pair<QString, std::function<void(CDesktop&)>> refusals[] = {
        {"Failed to launch Pastille.", [](CDesktop& d) { std::ofstream(d.Host().configFolder) << "a file"; }},
        {kNotInstalled,
         [](CDesktop& d) {
             WriteRegistry(d, kInstalledKey);
             fs::permissions(RegistryFile(d), fs::perms::owner_read);
         }},
        {kNotInstalled, [](CDesktop& d) { fs::create_directories(RegistryFile(d)); }},
    };
    for (const auto& [text, provoke] : refusals) {
        CDesktop desktop;
        provoke(desktop);
        desktop.Begins();
        ExpectRefusal(desktop, text, "Error", QMessageBox::Critical);
    }
}

TEST(Startup, SecondInstanceIsRefusedAndTheFirstGoesOn)
{
    CDesktop first;
    first.StartsAtTheFrame();
    {
        CDesktop second;
        second.Host().configFolder = first.Host().configFolder;
        second.Host().runningProcess = "OUTLOOK.EXE";  // is not asked any more
        second.Begins();
        CPerson person;
        person.SeesWindow(QStringLiteral("Error"));
        person.Sees(kSecond);
        person.ClosesWindow();
        EXPECT_FALSE(Outcome(second));
    }
    CPerson person;
    person.IsAtTheFrame();
    first.Ends();
    first.Starts();  // the lock has gone with its owner
}

TEST(Startup, NormalUserPassesEveryCheck)
{
    const std::string setup = std::string(kInstalledKey) + kSetupKey;
    // A fresh machine; registered for 32-bit programs only; the other mail mode; a mode without forms; one
    // that is no number.
    for (const std::string& registry :
         {std::string(), std::string(kInstalledKey32),
          setup + "MailSupport=dword:00000001\nRegisterForms=1\n", setup + "MailSupport=dword:00000000\n",
          setup + "MailSupport=0\nRegisterForms=1\n"}) {
        SCOPED_TRACE(registry);
        CDesktop desktop;
        if (!registry.empty())
            WriteRegistry(desktop, registry);
        desktop.Host().runningProcess = "outlook.exe";         // not the client's name
        std::ofstream(desktop.Host().dataFolder) << "a file";  // profiles cannot be kept
        desktop.Starts();
        EXPECT_TRUE(Outcome(desktop));
    }
}

class StartupMailMode : public testing::Test {
protected:
    void SetUp() override
    {
        WriteRegistry(m_desktop, std::string("; made by hand\n") + kInstalledKey + kSetupKey +
                                     "MailSupport=dword:00000000\nRegisterForms=yes\nOther=kept\n; end\n");
        m_desktop.Begins();
        m_person.SeesWindow(QStringLiteral("Please read carefully"));
    }
    void ExpectWrongMode()
    {
        ExpectRefusal(m_desktop, kWrongMode, QStringLiteral("Pastille"), QMessageBox::Information);
        EXPECT_TRUE(ReadRegistry(m_desktop).find("MailSupport=dword:00000000") != std::string::npos);
        EXPECT_EQ(m_desktop.Host().TakeOpened(), QStringList());
    }
    CDesktop m_desktop;
    CPerson m_person;
};

TEST_F(StartupMailMode, InstructionsAreShownInFull)
{
    const QString all = m_person.VisibleTexts().join(QLatin1Char('\n'));
    const char* const parts[] = {
        "Software has detected Outlook 2000 installed on your system in IMO (Internet Mail only) mode. "
        "Please "
        "read below mentioned instructions carefully to effectively recover pst file.",
        "In order to recover the pst file the correct mode should be C/W\n(Corporate or Workgroup Mode).\n"
        "Software can automatically change the mode of currently\ninstalled outlook 2000 to C/W mode, you "
        "need to provide \nOffice 2000 CD or the path from where you previously installed \nOffice 2000.\n"
        "To proceed press \"Confirm\", else press \"Ignore\" to cancel this \noperation.\n\nYou also can "
        "perform this operation manually following the \nprocedure as mentioned below:\n\nManual Process\n1.",
        "\n7. "};
    for (const char* part : parts)
        EXPECT_TRUE(all.contains(QString::fromUtf8(part))) << part << "\nin\n" << all.toStdString();
    m_person.Presses(Qt::Key_Escape);
    ExpectWrongMode();
}

TEST_F(StartupMailMode, NothingChangesWithoutAgreement)
{
    m_person.Clicks(QStringLiteral("Ignore"));
    ExpectWrongMode();
    m_desktop.Begins();
    m_person.SeesWindow(QStringLiteral("Please read carefully"));
    m_person.Presses(Qt::Key_C, Qt::AltModifier);
    m_person.SeesWindow(QStringLiteral("Disclaimer"));
    m_person.Clicks(QStringLiteral("I do not accept"));
    ExpectWrongMode();
}

TEST_F(StartupMailMode, AgreementSwitchesTheModeAndGoesOn)
{
    m_person.Clicks(QStringLiteral("Confirm"));
    m_person.SeesWindow(QStringLiteral("Disclaimer"));
    m_person.Clicks(QStringLiteral("I Accept"));
    m_person.Sees(QStringLiteral("Open Default PST File"));
    EXPECT_EQ(m_desktop.Host().TakeOpened(),
              QStringList{QStringLiteral("/programs/Microsoft Office/Office/OUTLOOK.EXE")});
    const std::string registry = ReadRegistry(m_desktop);
    for (const char* kept : {"MailSupport=dword:00000001", "RegisterForms=yes", "Other=kept",
                             "; made by hand", "; end", "App Paths\\OUTLOOK.EXE]"})
        EXPECT_TRUE(registry.find(kept) != std::string::npos) << kept << "\nin\n" << registry;
}

}  // namespace
}  // namespace pastille::tests
