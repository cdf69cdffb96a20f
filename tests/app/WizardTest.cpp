#include <QComboBox>
#include <QFileDialog>

#include <fnmatch.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "tests/app/WizardRun.h"

namespace pastille::tests {
namespace {

using std::filesystem::path;

bool IsDialogOpen()
{
    return qobject_cast<QFileDialog*>(CPerson::Window()) != nullptr;
}

void ComesBackToTheWindow()
{
    CPerson::OnUi([] {
        QEvent activated(QEvent::ActivationChange);
        CPerson::Window()->activateWindow();
        QApplication::setActiveWindow(CPerson::Window());
        QApplication::sendEvent(CPerson::Window(), &activated);
    });
}

TEST(WizardDefaultFolders, ListTheStoresOfEachFolderAndTheRowDecides)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path first = wizard.MakeFile("one/b.OST").parent_path();
    const path broken = wizard.MakeFile("one/\xFF\xE9 <b>x.pst");
    for (const char* name :
         {"one/a.Pst", "one/c d \xC3\xA4.PST", "one/a.ost", "one/x.pst.bak", "one/pst",
          "one/z.pst/inside.pst", "one/sub/below.pst", "one/sub/none/notes.txt", "two/late.pst"})
        wizard.MakeFile(name);
    std::filesystem::create_directory_symlink(first, first / "folder.pst");
    std::filesystem::create_symlink(first / "a.Pst", first / "link.pst");
    wizard.host.mailFolders = {wizard.folder / "absent", wizard.folder / "one/sub/none"};
    wizard.BeginsAt(CWizardRun::kDefaultFolders);
    person.Sees("File name");
    EXPECT_EQ(person.Rows(), QStringList());
    person.ClicksBelowTheRows();
    EXPECT_FALSE(person.CanClick("Next"));
    person.Clicks("Back");

    wizard.host.mailFolders = {wizard.folder / "absent", first, wizard.folder / "two"};
    wizard.GoesOnWith(CWizardRun::kDefaultFolders);
    person.Sees("File name");
    const QString one = Shown(first);
    const QStringList rows = {one + "/a.Pst",
                              one + QString::fromUtf8("/c d \xC3\xA4.PST"),
                              one + "/link.pst",
                              one + QString::fromUtf8("/\xEF\xBF\xBD\xEF\xBF\xBD <b>x.pst"),
                              one + "/a.ost",
                              one + "/b.OST",
                              Shown(wizard.folder / "two/late.pst")};
    EXPECT_EQ(person.Rows(), rows);
    EXPECT_FALSE(person.CanClick("Next"));
    person.Clicks(rows[0]);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return wizard.choices.sourceFileName == "a.Pst"; }));
    EXPECT_TRUE(person.CanClick("Next"));
    person.ClicksBelowTheRows();
    EXPECT_FALSE(person.CanClick("Next"));
    // The name that is no UTF-8 comes through as its bytes.
    person.Clicks(rows[3]);
    person.Clicks("Next");
    person.Sees("Normal Scan");
    EXPECT_EQ(wizard.Choices().settings.sourcePath, broken);
    EXPECT_EQ(wizard.Choices().sourceFileName, broken.filename());
    person.Clicks("Back");
    person.Sees("Select the file and click next to repair:");
    EXPECT_FALSE(person.CanClick("Next")) << "no row of the new page is chosen";
}

/// Chooses in the file or folder dialog that "Browse..." opens.
void BrowsesTo(CPerson& person, const path& chosen)
{
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Shown(chosen));
    person.Sees(Shown(chosen));
}

void CancelsBrowsing(CPerson& person)
{
    person.Clicks("Browse...");
    ASSERT_TRUE(CPerson::WaitUntil(IsDialogOpen));
    person.Presses(Qt::Key_Escape);
    ASSERT_TRUE(CPerson::WaitUntil([] { return CPerson::Window() != nullptr && !IsDialogOpen(); }));
}

TEST(WizardBrowse, NextNeedsAnExistingFileOfTheKinds)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const struct {
        const char* name;
        bool fits;
    } cases[] = {{"notes.txt", false},
                 {"archive.PST", true},
                 {"archive.pst.bak", false},
                 {"m\xC3\xA4il box \xE2\x82\xAC/old mail.oSt", true}};
    wizard.BeginsAt(CWizardRun::kBrowse);
    path file;
    for (const auto& [name, fits] : cases) {
        file = wizard.MakeFile(name);
        BrowsesTo(person, file);
        EXPECT_EQ(person.CanClick("Next"), fits) << name;
        EXPECT_EQ(wizard.Choices().settings.sourcePath, file);
        EXPECT_EQ(wizard.Choices().sourceFileName, file.filename());
    }
    CancelsBrowsing(person);
    EXPECT_TRUE(person.IsSeen(Shown(file)));
    EXPECT_EQ(wizard.Choices().settings.sourcePath, file);
    // Gone, noticed by the button first and by coming back later.
    std::filesystem::remove(file);
    person.Clicks("Next");
    CPerson::OnUi([] {});  // the click has been handled
    EXPECT_FALSE(person.CanClick("Next"));
    EXPECT_TRUE(person.IsSeen(Shown(file)));
    std::ofstream(file) << "!";
    ComesBackToTheWindow();
    EXPECT_TRUE(person.CanClick("Next"));
    std::filesystem::remove_all(file.parent_path());
    ComesBackToTheWindow();
    EXPECT_FALSE(person.CanClick("Next"));
}

TEST(WizardBrowse, TheChooserShowsTheKindsInAnyCase)
{
    CWizardRun wizard;
    wizard.BeginsAt(CWizardRun::kBrowse);
    wizard.person.Clicks("Browse...");
    ASSERT_TRUE(CPerson::WaitUntil(IsDialogOpen));
    EXPECT_EQ(
        CPerson::OnUi([] {
            return CPerson::Window()->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"))->currentText();
        }),
        QStringLiteral("PST or OST (*.pst, *.ost)"));
    // As a native chooser compares names.
    const QString filter = CPerson::OnUi(
        [] { return qobject_cast<QFileDialog*>(CPerson::Window())->nameFilters().constFirst(); });
    const QStringList patterns = filter.section('(', -1).section(')', 0, 0).split(' ');
    const auto shows = [&](const char* name) {
        return std::ranges::any_of(
            patterns, [&](const QString& pattern) { return ::fnmatch(qPrintable(pattern), name, 0) == 0; });
    };
    for (const char* name : {"a.pst", "a.PST", "a.Pst", "a.ost", "a.oSt"})
        EXPECT_TRUE(shows(name)) << name;
    EXPECT_FALSE(shows("a.txt"));
    wizard.person.Presses(Qt::Key_Escape);
    ASSERT_TRUE(CPerson::WaitUntil([] { return CPerson::Window() != nullptr && !IsDialogOpen(); }));
}

struct Origin {
    const char16_t* choice;
    const char* heading;
    std::function<void(CPerson&)> choose;
};

std::vector<Origin> Origins(const path& file)
{
    return {
        {CWizardRun::kDefaultFolders, "Select the file and click next to repair:",
         [file](CPerson& person) { person.Clicks(Shown(file)); }},
        {CWizardRun::kBrowse, "Click browse to locate the PST file that needs to be repaired",
         [file](CPerson& person) { BrowsesTo(person, file); }},
        {CWizardRun::kSearch, "Select the appropriate drive and click find to search",
         [file](CPerson& person) {
             person.Clicks("Fin&d");
             person.Clicks(Shown(file));
         }},
    };
}

TEST(WizardScan, GoesBackToWhereItCameFromAndForgetsTheMethod)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("mail/a.pst");
    const path out = wizard.folder / "out put \xC3\xA9";
    std::filesystem::create_directory(out);
    wizard.host.mailFolders = wizard.host.drives = {file.parent_path()};
    wizard.Begins();
    path destinationBefore;
    for (const Origin& origin : Origins(file)) {
        wizard.GoesOnWith(origin.choice);
        person.Sees(origin.heading);
        origin.choose(person);
        person.Clicks("Next");
        person.Sees("Select the appropriate scanning method");
        EXPECT_TRUE(person.IsChecked("Normal Scan"));
        EXPECT_FALSE(wizard.Choices().settings.smartScan);
        // The destination of an earlier visit is kept, but does not count as chosen.
        EXPECT_FALSE(person.CanClick("&Repair"));
        EXPECT_EQ(wizard.Choices().settings.destinationFolder, destinationBefore);
        person.Clicks("Smart Scan");
        BrowsesTo(person, out);
        EXPECT_TRUE(person.CanClick("&Repair"));
        person.Clicks("Back");
        person.Sees(origin.heading);
        EXPECT_TRUE(wizard.Choices().settings.smartScan);
        EXPECT_EQ(wizard.Choices().settings.sourcePath, file);
        person.Clicks("Back");
        person.Sees("Open Default PST File");
        destinationBefore = out;
    }
}

TEST(WizardScan, RepairNeedsTheDestination)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("mail/a.pst");
    const path out = wizard.folder / "out";
    std::filesystem::create_directory(out);
    wizard.host.mailFolders = {file.parent_path()};
    wizard.BeginsAt(CWizardRun::kDefaultFolders);
    person.Clicks(Shown(file));
    person.Clicks("Next");
    CancelsBrowsing(person);
    EXPECT_FALSE(person.CanClick("&Repair"));
    EXPECT_EQ(wizard.Choices().settings.destinationFolder, "");
    BrowsesTo(person, out);
    // Gone, and a file of its name in its place.
    std::filesystem::remove(out);
    wizard.MakeFile("out");
    person.Clicks("&Repair");
    CPerson::OnUi([] {});  // the click has been handled
    EXPECT_FALSE(person.CanClick("&Repair"));
    EXPECT_FALSE(wizard.Result().has_value());
}

TEST(WizardKeyboard, LeadsFromTheStartToRepair)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("mail/a.pst");
    wizard.host.mailFolders = {file.parent_path()};
    wizard.Begins();
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
    EXPECT_TRUE(CPerson::WaitUntil([&] { return wizard.choices.settings.sourcePath == file; }));
    person.Presses(Qt::Key_Return);
    person.Sees("Normal Scan");
    alt(Qt::Key_S);
    alt(Qt::Key_W);
    person.SeesWindow("Select destination path to save recovered file.");
    person.ChoosesInFileDialog(Shown(wizard.folder.Path()));
    person.Sees(Shown(wizard.folder.Path()));
    alt(Qt::Key_R);
    ASSERT_TRUE(wizard.EndsWith(true));
    const app::RepairChoices choices = wizard.Choices();
    EXPECT_EQ(choices.settings.sourcePath, file);
    EXPECT_EQ(choices.sourceFileName, "a.pst");
    EXPECT_EQ(choices.settings.destinationFolder, wizard.folder.Path());
    EXPECT_TRUE(choices.settings.smartScan);
}

}  // namespace
}  // namespace pastille::tests
