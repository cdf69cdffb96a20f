// Makes a picture of every window of the desktop program in a typical state.

#include <QIcon>

#include <cstdio>
#include <exception>
#include <fstream>
#include <thread>

#include "app/MainFrame.h"
#include "platform/Registry.h"
#include "tests/app/Camera.h"
#include "tests/app/RunSteps.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

using std::filesystem::path;

void TakeWizard(CPerson& person, CCamera& camera)
{
    camera.Takes("wizard-1-start");
    for (const auto& [name, choice, text] :
         {std::tuple("wizard-2-default-folders", "Open Default PST File", "File name"),
          {"wizard-3-browse", "Select PST File Manually", "Select PST file :"}}) {
        person.Clicks(choice);
        person.Clicks("Next");
        person.Sees(text);
        camera.Takes(name);
        if (person.IsSeen("Browse...")) {
            person.Clicks("Browse...");
            camera.TakesBox("wizard-3-browse-file", "Cancel");
        }
        person.Clicks("Back");
    }
}

void TakeSearch(CDesktop& desktop, CPerson& person, CCamera& camera)
{
    const auto opens = [&] {
        person.Clicks("Find All Your PST Files");
        person.Clicks("Next");
    };
    const auto drives = std::exchange(desktop.Host().drives, {});
    opens();
    camera.TakesBox("wizard-4-search-no-drives");
    person.Clicks("Back");
    desktop.Host().drives = drives;
    opens();
    person.Sees("Fin&d");
    camera.Takes("wizard-4-search");
    desktop.Host().removableDrive = drives.back();  // the one in the box
    person.Clicks("Fin&d");
    camera.TakesBox("wizard-4-search-removable-drive");
    desktop.Host().removableDrive = "";
    person.Clicks("Fin&d");
    person.Sees("S&top");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    camera.Takes("wizard-4-search-running");
    person.Clicks("Back");
    camera.TakesBox("wizard-4-search-busy");
    person.Clicks("S&top");
    person.Sees("Fin&d");
    CPerson::WaitUntil([&] { return person.Rows().size() > 1; });
    camera.Takes("wizard-4-search-found");
    person.Clicks("Back");
}

void TakeRuns(CDesktop& desktop, CPerson& person, CCamera& camera)
{
    const auto to = desktop.MakeFolder("Recovered");
    ChooseSource(person, ExampleStore());
    person.Clicks("Browse...");
    camera.TakesBox("wizard-5-scan-method-folder", "Cancel");
    person.Sees("Normal Scan");
    person.BrowsesTo(to);
    camera.Takes("wizard-5-scan-method");
    person.Clicks("&Repair");
    person.Sees("Total items :");
    camera.TakesBox("completion");
    person.IsAtTheFrame();
    camera.Takes("frame");

    BeginRepair(desktop, MakeLongStore(desktop.Folder() / "mail.pst", std::uint64_t{4} << 30), to);
    person.SeesWindow("Recovery Progress");
    person.Sees("Phase 4 of 8");
    camera.Takes("progress");
    person.Clicks("S&top");
    camera.TakesBox("progress-stop-question", "&Yes");
    person.SeesWindow("Information");
    camera.TakesBox("progress-aborted");
    person.IsAtTheFrame();
}

void TakeFrame(CDesktop& desktop, CPerson& person, CCamera& camera)
{
    CPerson::BeginOnUi([] {
        for (QAction* action : CPerson::Window()->actions()) {
            if (action->text() == "Customize...")
                action->trigger();
        }
    });
    person.SeesWindow("Customize");
    camera.TakesBox("frame-customize");
    person.IsAtTheFrame();
    person.PicksFromMenu("&Help", "About Us");
    person.SeesDialog("CAboutDlg");
    camera.Takes("about");
    desktop.Host().openResult = 5;
    person.Clicks("License agreement");
    camera.TakesBox("about-link-error");
    person.SeesDialog("CAboutDlg");
    person.ClosesWindow();
    person.IsAtTheFrame();
    std::filesystem::remove_all(desktop.Host().installationFolder / "docs");
    person.PicksFromMenu("&Help", "Content");
    camera.TakesBox("frame-no-help-file");
    person.PicksFromMenu("&File", "Exit");
    camera.TakesBox("frame-exit-question", "&No");
    person.IsAtTheFrame();
}

/// The same windows in the colours that a dark desktop sets.
void TakeDark(CDesktop& desktop, CPerson& person, CCamera& camera)
{
    const QPalette before = CPerson::OnUi([] {
        const QPalette light = QApplication::palette();
        QPalette dark(QColor("#3a3d41"), QColor("#2b2d30"));
        dark.setColor(QPalette::Base, QColor("#1e1f22"));
        dark.setColor(QPalette::Link, QColor("#6ba7ff"));
        QApplication::setPalette(dark);
        return light;
    });
    camera.Takes("dark-frame");
    person.Presses(Qt::Key_R, Qt::AltModifier);
    person.Sees("Open Default PST File");
    camera.Takes("dark-wizard-1-start");
    Repair(person, ExampleStore(), desktop.MakeFolder("Dark"));
    person.Sees("Total items :");
    camera.TakesBox("dark-completion");
    person.IsAtTheFrame();
    CPerson::OnUi([&] { QApplication::setPalette(before); });
}

void TakeErrors(CCamera& camera)
{
    for (const RunFault& fault : RunFaults()) {
        CFaultyFileSystem disk;
        CDesktop desktop(disk);
        desktop.StartsAtTheFrame();
        BeginRefusedRepair(desktop, disk, fault);
        CPerson().SeesWindow(fault.caption);
        camera.TakesBox(std::string("error-") + fault.what);
        CPerson().IsAtTheFrame();
    }
}

/// Starts a program that is refused, and takes a picture of each box on the way.
void TakeRefusal(CCamera& camera, const std::vector<std::pair<const char*, const char*>>& boxes,
                 const std::function<void(CDesktop&)>& spoil)
{
    CDesktop desktop;
    spoil(desktop);
    desktop.Begins();
    for (const auto& [name, button] : boxes)
        camera.TakesBox(name, button);
    CPerson::WaitUntil([&] { return desktop.Started().has_value(); });
}

void WriteRegistry(CDesktop& desktop, const char* text)
{
    std::filesystem::create_directories(desktop.Host().configFolder);
    std::ofstream(desktop.Host().configFolder / "registry.ini") << text;
}

void PutIntoMailMode(CDesktop& desktop)
{
    constexpr const char* kKey = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Office\\9.0\\Outlook\\Setup";
    platform::CRegistry registry(desktop.Host().configFolder / "registry.ini");
    registry.SetNumber(kKey, "MailSupport", 0);
    registry.SetNumber(kKey, "RegisterForms", 1);
}

void TakeRefusals(CCamera& camera)
{
    {
        CDesktop first;
        first.StartsAtTheFrame();
        TakeRefusal(camera, {{"refused-second-instance", "OK"}},
                    [&](CDesktop& second) { second.Host().runtimeFolder = first.Host().runtimeFolder; });
    }
    TakeRefusal(camera, {{"refused-launch", "OK"}},
                [](CDesktop& desktop) { std::ofstream(desktop.Host().runtimeFolder) << "a file"; });
    TakeRefusal(camera, {{"refused-outlook-not-installed", "OK"}},
                [](CDesktop& desktop) { WriteRegistry(desktop, "[HKEY_LOCAL_MACHINE\\Software]\n"); });
    TakeRefusal(camera, {{"refused-outlook-running", "OK"}},
                [](CDesktop& desktop) { desktop.Host().runningProcess = "OUTLOOK.EXE"; });
    TakeRefusal(camera,
                {{"mail-mode-instructions", "Confirm"},
                 {"mail-mode-disclaimer", "I do not accept"},
                 {"refused-mail-mode", "OK"}},
                PutIntoMailMode);
}

bool TakeAll(const path& folder)
{
    CCamera camera(folder);
    {
        CDesktop desktop;
        const auto mail = desktop.MakeFolder("home/Outlook Files");
        for (const char* name : {"Archive 2019.pst", "Backup.pst", "Family.ost"})
            std::filesystem::copy_file(ExampleStore(), mail / name);
        MakeSlowFolders(desktop.MakeFolder("home/Pictures"), 3'000);
        desktop.Host().mailFolders = {mail};
        desktop.Host().drives = {desktop.Folder() / "home", desktop.Folder()};
        desktop.Starts();
        CPerson person;
        TakeWizard(person, camera);
        TakeSearch(desktop, person, camera);
        TakeRuns(desktop, person, camera);
        TakeFrame(desktop, person, camera);
        TakePreview(desktop, person, camera);
        TakeDark(desktop, person, camera);
    }
    TakeErrors(camera);
    TakeRefusals(camera);
    return !camera.HasFailed();
}

}  // namespace
}  // namespace pastille::tests

int main(int argc, char** argv)
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: screenshots FOLDER\n", stderr);
        return 2;
    }
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/pastille.svg")));
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
