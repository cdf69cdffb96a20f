#include <QComboBox>
#include <QFileDialog>

#include <fnmatch.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>

#include "tests/app/WizardRun.h"

namespace pastille::tests {
namespace {

using std::filesystem::path;

class Wizard : public CWizardRun {
protected:
    void OpensTheChooser()
    {
        person.Clicks("Browse...");
        ASSERT_TRUE(CPerson::WaitUntil([] { return Chooser() != nullptr; }));
    }
    void CancelsBrowsing()
    {
        person.Presses(Qt::Key_Escape);
        ASSERT_TRUE(CPerson::WaitUntil([] { return CPerson::Window() && Chooser() == nullptr; }));
    }
    static QFileDialog* Chooser() { return qobject_cast<QFileDialog*>(CPerson::Window()); }
    static void ComesBackToTheWindow()
    {
        CPerson::OnUi([] {
            QEvent activated(QEvent::ActivationChange);
            CPerson::Window()->activateWindow();
            QApplication::setActiveWindow(CPerson::Window());
            QApplication::sendEvent(CPerson::Window(), &activated);
        });
    }
};

TEST_F(Wizard, ListsTheStoresOfTheDefaultFoldersAndTheRowDecides)
{
    const path first = MakeFile("one/b.OST").parent_path();
    const path broken = MakeFile("one/\xFF\xE9 <b>x.pst");
    for (const char* name :
         {"one/a.Pst", "one/c d \xC3\xA4.PST", "one/a.ost", "one/x.pst.bak", "one/pst",
          "one/z.pst/inside.pst", "one/sub/below.pst", "one/sub/none/notes.txt", "two/late.pst"})
        MakeFile(name);
    std::filesystem::create_directory_symlink(first, first / "folder.pst");
    std::filesystem::create_symlink(first / "a.Pst", first / "link.pst");
    host.mailFolders = {folder / "absent", folder / "one/sub/none"};
    BeginsAt(kDefaultFolders);
    person.Sees("File name");
    EXPECT_EQ(person.Rows(), QStringList());
    person.ClicksBelowTheRows();
    EXPECT_FALSE(person.CanClick("Next"));
    person.Clicks("Back");

    host.mailFolders = {folder / "absent", first, folder / "two"};
    GoesOnWith(kDefaultFolders);
    person.Sees("File name");
    const QString one = Shown(first);
    const QStringList rows = {one + "/a.Pst",
                              one + QString::fromUtf8("/c d \xC3\xA4.PST"),
                              one + "/link.pst",
                              one + QString::fromUtf8("/\xEF\xBF\xBD\xEF\xBF\xBD <b>x.pst"),
                              one + "/a.ost",
                              one + "/b.OST",
                              Shown(folder / "two/late.pst")};
    EXPECT_EQ(person.Rows(), rows);
    EXPECT_FALSE(person.CanClick("Next"));
    person.Clicks(rows[0]);
    EXPECT_TRUE(HasSource(first / "a.Pst"));
    EXPECT_TRUE(person.CanClick("Next"));
    person.ClicksBelowTheRows();
    EXPECT_FALSE(person.CanClick("Next"));
    // The name that is no UTF-8 comes through as its bytes.
    person.Clicks(rows[3]);
    person.Clicks("Next");
    person.Sees("Normal Scan");
    EXPECT_TRUE(HasSource(broken));
    person.Clicks("Back");
    person.Sees("Select the file and click next to repair:");
    EXPECT_FALSE(person.CanClick("Next")) << "no row of the new page is chosen";
}

TEST_F(Wizard, BrowsingNeedsAnExistingFileOfTheKinds)
{
    BeginsAt(kBrowse);
    path file;
    for (const auto& [name, fits] : {std::pair("notes.txt", false),
                                     {"archive.PST", true},
                                     {"archive.pst.bak", false},
                                     {"m\xC3\xA4il box \xE2\x82\xAC/old mail.oSt", true}}) {
        file = MakeFile(name);
        person.BrowsesTo(file);
        EXPECT_EQ(person.CanClick("Next"), fits) << name;
        EXPECT_TRUE(HasSource(file));
    }
    OpensTheChooser();
    CPerson::OnUi([] {
        EXPECT_EQ(Chooser()->findChild<QComboBox*>("fileTypeCombo")->currentText(),
                  "PST or OST (*.pst, *.ost)");
        // As a native chooser compares names.
        const QString filter = Chooser()->nameFilters().constFirst();
        const QStringList patterns = filter.section('(', -1).section(')', 0, 0).split(' ');
        for (const char* name : {"a.pst", "a.PST", "a.Pst", "a.ost", "a.oSt", "a.txt"})
            EXPECT_EQ(std::ranges::any_of(patterns,
                                          [&](const QString& pattern) {
                                              return ::fnmatch(qPrintable(pattern), name, 0) == 0;
                                          }),
                      name != std::string("a.txt"))
                << name;
    });
    CancelsBrowsing();
    EXPECT_TRUE(person.IsSeen(Shown(file)));
    EXPECT_TRUE(HasSource(file));
    // Gone, noticed by the button first and by coming back later.
    std::filesystem::remove(file);
    person.Clicks("Next");
    CPerson::Settle();
    EXPECT_FALSE(person.CanClick("Next"));
    EXPECT_TRUE(person.IsSeen(Shown(file)));
    std::ofstream(file) << "!";
    ComesBackToTheWindow();
    EXPECT_TRUE(person.CanClick("Next"));
    std::filesystem::remove_all(file.parent_path());
    ComesBackToTheWindow();
    EXPECT_FALSE(person.CanClick("Next"));
}

TEST_F(Wizard, ScanPageGoesBackToWhereItCameFromAndForgetsTheMethod)
{
    const path file = MakeFile("mail/a.pst");
    const path out = desktop.MakeFolder("out put \xC3\xA9");
    host.mailFolders = host.drives = {file.parent_path()};
    const struct {
        const char* choice;
        const char* heading;
        std::function<void()> choose;
    } origins[] = {
        {kDefaultFolders, "Select the file and click next to repair:", [&] { person.Clicks(Shown(file)); }},
        {kBrowse, "Click browse to locate the PST file that needs to be repaired",
         [&] { person.BrowsesTo(file); }},
        {kSearch, "Select the appropriate drive and click find to search",
         [&] {
             person.Clicks("Fin&d");
             person.Clicks(Shown(file));
         }},
    };
    Begins();
    path destinationBefore;
    for (const auto& origin : origins) {
        GoesOnWith(origin.choice);
        person.Sees(origin.heading);
        origin.choose();
        person.Clicks("Next");
        person.Sees("Select the appropriate scanning method");
        EXPECT_TRUE(person.IsChecked("Normal Scan"));
        EXPECT_FALSE(Choices().settings.smartScan);
        EXPECT_FALSE(person.IsChecked("Complete recovery"));
        EXPECT_FALSE(Choices().settings.complete);
        // The destination of an earlier visit is kept, but does not count as chosen.
        EXPECT_FALSE(person.CanClick("&Repair"));
        EXPECT_EQ(Choices().settings.destinationFolder, destinationBefore);
        OpensTheChooser();
        CancelsBrowsing();
        EXPECT_FALSE(person.CanClick("&Repair"));
        EXPECT_EQ(Choices().settings.destinationFolder, destinationBefore);
        person.Clicks("Smart Scan");
        person.Clicks("Complete recovery");
        person.BrowsesTo(out);
        EXPECT_TRUE(person.CanClick("&Repair"));
        person.Clicks("Back");
        person.Sees(origin.heading);
        EXPECT_TRUE(Choices().settings.smartScan);
        EXPECT_TRUE(Choices().settings.complete);
        EXPECT_TRUE(HasSource(file));
        person.Clicks("Back");
        person.Sees("Open Default PST File");
        destinationBefore = out;
    }
    GoesOnWith(kDefaultFolders);
    person.Clicks(Shown(file));
    person.Clicks("Next");
    person.BrowsesTo(out);
    // Gone, and a file of its name in its place.
    std::filesystem::remove(out);
    std::ofstream(out) << "!";
    person.Clicks("&Repair");
    CPerson::Settle();
    EXPECT_FALSE(person.CanClick("&Repair"));
}

TEST_F(Wizard, IsLedByKeysFromTheStartToRepair)
{
    const path file = MakeFile("mail/a.pst");
    host.mailFolders = {file.parent_path()};
    Begins();
    const auto alt = [&](Qt::Key key) { person.Presses(key, Qt::AltModifier); };
    person.Presses(Qt::Key_Down);
    person.Presses(Qt::Key_Return);
    person.Sees("Select PST file :");
    alt(Qt::Key_B);
    person.Sees("Open Default PST File");
    alt(Qt::Key_O);
    alt(Qt::Key_N);
    person.Sees("Select the file and click next to repair:");
    person.Presses(Qt::Key_Down);
    EXPECT_TRUE(HasSource(file));
    person.Presses(Qt::Key_Return);
    person.Sees("Normal Scan");
    alt(Qt::Key_S);
    alt(Qt::Key_C);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return Choices().settings.complete; }));
    alt(Qt::Key_C);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !Choices().settings.complete; }));
    alt(Qt::Key_W);
    person.SeesWindow("Select destination path to save recovered file.");
    person.ChoosesInFileDialog(Shown(folder));
    person.Sees(Shown(folder));
    EXPECT_TRUE(person.IsChecked("Smart Scan"));
    alt(Qt::Key_R);
    person.Answers("Error", "Pst/Ost file is not valid.", "OK");  // the repair has begun
    EXPECT_TRUE(HasSource(file));
    EXPECT_EQ(Choices().settings.destinationFolder, folder);
}

}  // namespace
}  // namespace pastille::tests
