// Makes a picture of every window of the desktop program in a typical state.

#include <QApplication>
#include <QPixmap>

#include <cstdio>
#include <exception>
#include <fstream>
#include <thread>

#include "app/AboutDlg.h"
#include "app/MainFrame.h"
#include "app/MessageBox.h"
#include "app/Strings.h"
#include "platform/Registry.h"
#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

constexpr const char* kMailMode = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Office\\9.0\\Outlook\\Setup";

/// Saves what stands in front, and what lies behind it.
class CCamera {
public:
    explicit CCamera(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    void Takes(const char* name)
    {
        // Windows paint themselves when they have come up.
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        const auto file = m_folder / (std::string(name) + ".png");
        const bool saved = CPerson::OnUi(
            [&] { return CPerson::Window() != nullptr && CPerson::Window()->grab().save(Shown(file)); });
        std::printf("%s%s\n", saved ? "" : "NOT SAVED: ", file.c_str());
        m_failed = m_failed || !saved;
    }
    bool HasFailed() const { return m_failed; }

private:
    std::filesystem::path m_folder;
    bool m_failed = false;
};

void FillMailFolders(CDesktop& desktop)
{
    const auto mail = desktop.MakeFolder("home/Outlook Files");
    for (const char* name : {"Archive 2019.pst", "Backup.pst", "Family.ost"})
        std::filesystem::copy_file(ExampleStore(), mail / name);
    desktop.Host().mailFolders = {mail};
    desktop.Host().drives = {desktop.Folder() / "home", desktop.Folder()};
}

void TakeWizard(CPerson& person, CCamera& camera)
{
    camera.Takes("wizard-1-start");
    person.Clicks("Next");
    person.Sees("Select the file and click next to repair:");
    camera.Takes("wizard-2-default-folders");
    person.Clicks("Back");
    person.Clicks("Select PST File Manually");
    person.Clicks("Next");
    person.Sees("Select PST file :");
    camera.Takes("wizard-3-browse");
    person.Clicks("Back");
}

void TakeSearch(CDesktop& desktop, CPerson& person, CCamera& camera)
{
    // A tree that takes a while, below the stores that are found at once.
    for (int folder = 0; folder < 100'000; ++folder)
        std::filesystem::create_directories(desktop.Folder() / "home/Pictures" /
                                            std::to_string(folder % 300) / std::to_string(folder));
    person.Clicks("Find All Your PST Files");
    person.Clicks("Next");
    person.Sees("Fin&d");
    camera.Takes("wizard-4-search");
    person.Clicks("Fin&d");
    person.Sees("S&top");
    camera.Takes("wizard-4-search-running");
    person.Clicks("Back");
    person.Sees(
        "An operation is in progress;\nPlease cancel the current\nProcess to go back to the main screen.");
    camera.Takes("wizard-4-search-busy");
    person.Clicks("OK");
    person.Clicks("S&top");
    person.Sees("Fin&d");
    CPerson::WaitUntil([&] { return !person.VisibleTexts().empty(); });
    camera.Takes("wizard-4-search-found");
    person.Clicks("Back");
}

void ChooseFolder(CPerson& person, const std::filesystem::path& folder)
{
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Shown(folder));
    person.Sees(Shown(folder));
}

void ChooseSource(CPerson& person, const std::filesystem::path& source)
{
    person.Clicks("Select PST File Manually");
    person.Clicks("Next");
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Shown(source));
    person.Sees(Shown(source));
    person.Clicks("Next");
    person.Sees("Select the appropriate scanning method");
}

void TakeRuns(CDesktop& desktop, CPerson& person, CCamera& camera)
{
    const auto to = desktop.MakeFolder("Recovered");
    ChooseSource(person, ExampleStore());
    ChooseFolder(person, to);
    camera.Takes("wizard-5-scan-method");
    person.Clicks("&Repair");
    person.Sees("Total items :");
    camera.Takes("completion");
    person.Clicks("OK");
    person.IsAtTheFrame();
    camera.Takes("frame");

    person.Presses(Qt::Key_R, Qt::AltModifier);
    ChooseSource(person, MakeLongStore(desktop.Folder() / "mail.pst"));
    ChooseFolder(person, to);
    person.Clicks("&Repair");
    person.SeesWindow("Recovery Progress");
    std::this_thread::sleep_for(std::chrono::seconds(1));
    camera.Takes("progress");
    person.Clicks("S&top");
    person.Sees("Do you want to stop the process?");
    camera.Takes("progress-stop-question");
    person.Clicks("&Yes");
    person.SeesWindow("Information");
    camera.Takes("aborted");
    person.Clicks("OK");
    person.IsAtTheFrame();

    const auto huge = desktop.Folder() / "huge.pst";
    std::filesystem::copy_file(ExampleStore(), huge);
    std::filesystem::resize_file(huge, std::filesystem::space(to).available + (2 << 20));
    CPerson::OnUi([&] { desktop.App().Choices().SetSource(huge); });
    CPerson::BeginOnUi([&] { desktop.App().MainFrame()->StartRepair(); });
    person.SeesWindow("Information");
    camera.Takes("no-disk-space");
    person.Clicks("OK");
}

void TakeFrame(CDesktop& desktop, CPerson& person, CCamera& camera)
{
    person.PicksFromMenu("&Help", "About Us");
    CPerson::WaitUntil([] { return QApplication::activeModalWidget() != nullptr; });
    camera.Takes("about");
    person.ClosesWindow();
    person.IsAtTheFrame();
    std::filesystem::remove_all(desktop.Host().installationFolder / "docs");
    person.PicksFromMenu("&Help", "Content");
    person.Sees("Unable to locate Help File");
    camera.Takes("no-help-file");
    person.Clicks("OK");
    person.PicksFromMenu("&File", "Exit");
    person.Sees("Do you want to exit the application?");
    camera.Takes("exit-question");
    person.Clicks("&No");
    person.IsAtTheFrame();
}

/// Starts a program that is refused, and takes a picture of each box on the way.
void TakeRefusal(CCamera& camera, const std::vector<const char*>& names,
                 const std::function<void(CDesktop&)>& spoil)
{
    CDesktop desktop;
    spoil(desktop);
    desktop.Begins();
    CPerson person;
    for (const char* name : names) {
        CPerson::WaitUntil([] { return QApplication::activeModalWidget() != nullptr; });
        camera.Takes(name);
        person.ClosesWindow();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

void PutIntoMailMode(CDesktop& desktop)
{
    std::filesystem::create_directories(desktop.Host().configFolder);
    platform::CRegistry registry(desktop.Host().configFolder / "registry.ini");
    registry.SetNumber(kMailMode, "MailSupport", 0);
    registry.SetNumber(kMailMode, "RegisterForms", 1);
}

void TakeRefusals(CCamera& camera)
{
    {
        CDesktop first;
        first.StartsAtTheFrame();
        TakeRefusal(camera, {"refused-second-instance"},
                    [&](CDesktop& second) { second.Host().configFolder = first.Host().configFolder; });
    }
    TakeRefusal(camera, {"refused-launch"}, [](CDesktop& desktop) {
        std::filesystem::copy_file(ExampleStore(), desktop.Host().configFolder);
    });
    TakeRefusal(camera, {"refused-outlook-not-installed"}, [](CDesktop& desktop) {
        std::filesystem::create_directories(desktop.Host().configFolder);
        std::ofstream(desktop.Host().configFolder / "registry.ini") << "";
    });
    TakeRefusal(camera, {"refused-outlook-running"},
                [](CDesktop& desktop) { desktop.Host().runningProcess = "OUTLOOK.EXE"; });
    TakeRefusal(camera, {"mail-mode-instructions", "refused-mail-mode"}, PutIntoMailMode);
    CDesktop desktop;
    PutIntoMailMode(desktop);
    desktop.Begins();
    CPerson person;
    person.Clicks("Confirm");
    person.SeesWindow("Disclaimer");
    camera.Takes("mail-mode-disclaimer");
}

bool TakeAll(const std::filesystem::path& folder)
{
    CCamera camera(folder);
    {
        CDesktop desktop;
        FillMailFolders(desktop);
        desktop.Starts();
        CPerson person;
        TakeWizard(person, camera);
        TakeSearch(desktop, person, camera);
        TakeRuns(desktop, person, camera);
        TakeFrame(desktop, person, camera);
    }
    TakeRefusals(camera);
    return !camera.HasFailed();
}

}  // namespace
}  // namespace pastille::tests

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: screenshots FOLDER\n", stderr);
        return 2;
    }
    QApplication::setQuitOnLastWindowClosed(false);
    int result = 1;
    std::thread photographer([&] {
        try {
            result = pastille::tests::TakeAll(argv[1]) ? 0 : 1;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        QMetaObject::invokeMethod(qApp, &QApplication::quit, Qt::QueuedConnection);
    });
    QApplication::exec();
    photographer.join();
    return result;
}
