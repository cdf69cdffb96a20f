#include <QMessageBox>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNotInstalled =
    "Microsoft Office Outlook currently not installed or is not working,\n"
    "please reinstall Microsoft Office Outlook and relaunch the application.";
constexpr const char* kRunning =
    "Pastille can not continue because Microsoft office outlook is running.\n"
    "Please close the Microsoft office outlook.";
constexpr const char* kWrongMode =
    "Currently selected outlook mode (IMO) is not supported.Please change it to C/W mode.";
const std::string kInstalled =
    "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE]\n";
const std::string kInstalled32 =
    "[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\App Paths\\"
    "OUTLOOK.EXE]\n";
const std::string kSetup =
    kInstalled + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Office\\9.0\\Outlook\\Setup]\n";

fs::path RegistryFile(CDesktop& desktop)
{
    return desktop.Host().configFolder / "registry.ini";
}

void WriteRegistry(CDesktop& desktop, const std::string& text)
{
    fs::create_directories(desktop.Host().configFolder);
    std::ofstream(RegistryFile(desktop)) << text;
}

/// What start-up has returned once it ended: false after a refusal.
bool Outcome(CDesktop& desktop)
{
    EXPECT_TRUE(CPerson::WaitUntil([&] { return desktop.Started().has_value(); }));
    return desktop.Started().value_or(true);
}

void ExpectRefusal(CDesktop& desktop, const QString& text, const QString& caption, QMessageBox::Icon icon)
{
    CPerson person;
    person.SeesWindow(caption);
    person.Sees(text);
    CPerson::OnUi([&] {
        const auto* box = qobject_cast<QMessageBox*>(CPerson::Window());
        EXPECT_EQ(box != nullptr ? box->icon() : QMessageBox::NoIcon, icon);
    });
    person.ClosesWindow();
    EXPECT_FALSE(Outcome(desktop));
}

TEST(Startup, EachRefusalSaysItsOwn)
{
    const auto registry = [](const std::string& text) {
        return [text](CDesktop& desktop) { WriteRegistry(desktop, text); };
    };
    const std::string wrongMode = kSetup + "MailSupport=dword:00000000\nRegisterForms=1\n";
    // Of several reasons the first in the order of the checks is told.
    const struct {
        const char* what;
        const char* text;
        bool isMailClientRunning;
        std::function<void(CDesktop&)> provoke;
    } refusals[] = {
        {"not registered", kNotInstalled, false, registry("[HKEY_LOCAL_MACHINE\\Software]\n")},
        {"mail client runs", kRunning, true, [](CDesktop&) {}},
        {"not registered, and runs", kNotInstalled, true, registry("\n")},
        {"runs, and has the wrong mode", kRunning, true, registry(wrongMode)},
        {"no folder for its files", "Failed to launch Pastille.", true,
         [](CDesktop& desktop) { std::ofstream(desktop.Host().runtimeFolder) << "a file"; }},
        {"not registered for writing", kNotInstalled, false,
         [](CDesktop& desktop) {
             WriteRegistry(desktop, kInstalled);
             fs::permissions(RegistryFile(desktop), fs::perms::owner_read);
         }},
        {"registry cannot be read", kNotInstalled, false,
         [](CDesktop& desktop) { fs::create_directories(RegistryFile(desktop)); }},
    };
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        CDesktop desktop;
        if (refusal.isMailClientRunning)
            desktop.Host().runningProcess = "OUTLOOK.EXE";
        refusal.provoke(desktop);
        desktop.Begins();
        const bool isWarning = refusal.text == kRunning;
        ExpectRefusal(desktop, refusal.text, isWarning ? "Warning" : "Error",
                      isWarning ? QMessageBox::Warning : QMessageBox::Critical);
        CPerson().SeesNoWindow();
    }
}

TEST(Startup, SecondInstanceIsRefusedAndTheFirstGoesOn)
{
    CDesktop first;
    first.StartsAtTheFrame();
    {
        CDesktop second;
        second.Host().runtimeFolder = first.Host().runtimeFolder;
        second.Host().runningProcess = "OUTLOOK.EXE";  // is not asked any more
        second.Begins();
        ExpectRefusal(second,
                      "Pastille is already running.\n"
                      "Please close the running instance to launch the application.",
                      "Error", QMessageBox::Critical);
    }
    CPerson().IsAtTheFrame();
    first.Ends();
    first.Starts();  // the lock has gone with its owner
}

TEST(Startup, NormalUserPassesEveryCheck)
{
    // A file of no bytes, which counts as none; registered for 32-bit programs only; the other mail mode; a
    // mode without forms; one that is no number.
    for (const std::string& registry :
         {std::string(), kInstalled32, kSetup + "MailSupport=dword:00000001\nRegisterForms=1\n",
          kSetup + "MailSupport=dword:00000000\n", kSetup + "MailSupport=0\nRegisterForms=1\n"}) {
        SCOPED_TRACE(registry);
        CDesktop desktop;
        WriteRegistry(desktop, registry);
        desktop.Host().runningProcess = "outlook.exe";         // not the client's name
        std::ofstream(desktop.Host().dataFolder) << "a file";  // profiles cannot be kept
        desktop.Starts();
        EXPECT_TRUE(Outcome(desktop));
    }
}

TEST(Startup, ShowsTheStoreThatItIsStartedWithOrOffersItsRepair)
{
    CDesktop desktop;
    CPerson person;
    desktop.Starts();
    Repair(person, ExampleStore(), desktop.MakeFolder("new"));
    person.SeesDialog("CSuccessfullyRecoveredDlg");
    desktop.Ends();

    // The other pages of a wizard that comes up would be in front.
    desktop.Begins(desktop.Folder() / "new/damaged Recovered/damaged Recovered.pst");
    person.IsAtTheFrame();
    person.Sees("damaged Recovered");
    person.IsAtTheFrame();
    desktop.Ends();

    const fs::path damaged = desktop.Folder() / "my mail.pst";
    fs::copy_file(ExampleStore(), damaged);
    fs::resize_file(damaged, 100'000);
    desktop.Begins(damaged);
    person.SeesWindow("Error");
    person.ClosesWindow();
    person.Clicks("Select PST File Manually");
    person.Clicks("Next");
    person.Sees(Shown(damaged));
    person.Clicks("Next");
    person.Sees("Select the appropriate scanning method");
}

class StartupMailMode : public testing::Test {
protected:
    void SetUp() override
    {
        WriteRegistry(m_desktop, "; made by hand\n" + kSetup +
                                     "MailSupport=dword:00000000\nRegisterForms=yes\nOther=kept\n; end\n");
    }
    void Begins()
    {
        m_desktop.Begins();
        m_person.SeesWindow("Please read carefully");
    }
    bool Holds(const char* text)
    {
        std::ifstream file(RegistryFile(m_desktop));
        return std::string(std::istreambuf_iterator<char>(file), {}).find(text) != std::string::npos;
    }
    void ExpectWrongMode()
    {
        ExpectRefusal(m_desktop, kWrongMode, "Pastille", QMessageBox::Information);
        EXPECT_TRUE(Holds("MailSupport=dword:00000000"));
        EXPECT_EQ(m_desktop.Host().TakeOpened(), QStringList());
    }
    CDesktop m_desktop;
    CPerson m_person;
};

TEST_F(StartupMailMode, IsExplainedAndStaysWithoutAgreement)
{
    Begins();
    const QString all = m_person.VisibleTexts().join('\n');
    for (const char* part :
         {"Software has detected Outlook 2000 installed on your system in IMO (Internet Mail only) mode. "
          "Please read below mentioned instructions carefully to effectively recover pst file.",
          "In order to recover the pst file the correct mode should be C/W\n(Corporate or Workgroup Mode).\n"
          "Software can automatically change the mode of currently\ninstalled outlook 2000 to C/W mode, you "
          "need to provide \nOffice 2000 CD or the path from where you previously installed \nOffice 2000.\n"
          "To proceed press \"Confirm\", else press \"Ignore\" to cancel this \noperation.\n\nYou also can "
          "perform this operation manually following the \nprocedure as mentioned below:\n\nManual "
          "Process\n1.",
          "\n7. "})
        EXPECT_TRUE(all.contains(part)) << part << "\nin\n" << all.toStdString();
    m_person.Presses(Qt::Key_Escape);
    ExpectWrongMode();
    Begins();
    m_person.Clicks("Ignore");
    ExpectWrongMode();
    Begins();
    m_person.Presses(Qt::Key_C, Qt::AltModifier);
    m_person.SeesWindow("Disclaimer");
    m_person.Clicks("I do not accept");
    ExpectWrongMode();
}

TEST_F(StartupMailMode, IsSwitchedByAgreementAndTheStartGoesOn)
{
    Begins();
    m_person.Clicks("Confirm");
    m_person.SeesWindow("Disclaimer");
    m_person.Clicks("I Accept");
    m_person.Sees("Open Default PST File");
    EXPECT_EQ(m_desktop.Host().TakeOpened(), QStringList{"/programs/Microsoft Office/Office/OUTLOOK.EXE"});
    for (const char* kept : {"MailSupport=dword:00000001", "RegisterForms=yes", "Other=kept",
                             "; made by hand", "; end", "App Paths\\OUTLOOK.EXE]"})
        EXPECT_TRUE(Holds(kept)) << kept;
}

}  // namespace
}  // namespace pastille::tests
