#include <QAbstractButton>
#include <QAccessible>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

#include "tests/app/WizardRun.h"

namespace pastille::tests {
namespace {

using std::filesystem::path;

constexpr const char16_t* kFolderDialog = u"Select destination path to save recovered file.";

QString Text(const path& file)
{
    return QString::fromStdString(file.native());
}

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

QString NameOf(QWidget* widget)
{
    if (!widget->accessibleName().isEmpty())
        return widget->accessibleName();
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
    return interface == nullptr ? QString() : interface->text(QAccessible::Name);
}

/// What the Tab key leads to, from what has the focus until that has it again.
QStringList TabOrder(CPerson& person)
{
    QStringList names;
    const auto focus = [] { return NameOf(CPerson::Window()->focusWidget()); };
    for (QString name = CPerson::OnUi(focus); !names.contains(name) && names.size() < 20;
         name = CPerson::OnUi(focus)) {
        names.append(name);
        person.Presses(Qt::Key_Tab);
        CPerson::OnUi([] {});
    }
    return names;
}

/// Everything that can take the focus has a name for screen readers, and no text is cut or taken as markup.
void IsFitForEveryone()
{
    const QStringList faults = CPerson::OnUi([] {
        QStringList found;
        for (auto* widget : CPerson::Window()->findChildren<QWidget*>()) {
            if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isVisible() &&
                widget->focusProxy() == nullptr && NameOf(widget).isEmpty())
                found.append(QStringLiteral("no name: ") + QLatin1String(widget->metaObject()->className()));
            if (auto* label = qobject_cast<QLabel*>(widget); label != nullptr && label->isVisible()) {
                if (label->textFormat() != Qt::PlainText ||
                    label->height() < label->heightForWidth(label->width()))
                    found.append(QStringLiteral("cut or markup: ") + label->text());
            } else if (qobject_cast<QAbstractButton*>(widget) != nullptr && widget->isVisible()) {
                if (widget->width() < widget->sizeHint().width() ||
                    widget->height() < widget->sizeHint().height())
                    found.append(QStringLiteral("cut: ") + NameOf(widget));
            }
        }
        return found;
    });
    EXPECT_EQ(faults, QStringList());
}

void IsPage(CPerson& person, const char* className, const QStringList& texts)
{
    for (const QString& text : texts)
        person.Sees(text);
    CPerson::OnUi([&] {
        const QWidget* page = CPerson::Window();
        EXPECT_EQ(page->objectName(), QLatin1String(className));
        EXPECT_STREQ(page->metaObject()->className(),
                     qPrintable(QLatin1String("pastille::app::") + className));
        EXPECT_EQ(page->windowTitle(), QStringLiteral("Pastille"));
        EXPECT_FALSE(page->windowIcon().isNull());
    });
    IsFitForEveryone();
}

TEST(WizardPages, CarryTheirTextsAndAreReachedByTabInReadingOrder)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    wizard.host.mailFolders = {wizard.MakeFile("mail/a.pst").parent_path()};
    wizard.host.drives = {wizard.folder.Path()};
    wizard.Begins();
    IsPage(person, "CCustomDlg",
           {"Open Default PST File", "Select PST File Manually", "Find All Your PST Files", "Next"});
    EXPECT_TRUE(person.IsChecked("Open Default PST File"));
    EXPECT_EQ(TabOrder(person), QStringList({"Open Default PST File", "Next"}));

    wizard.GoesOnWith(CWizardRun::kDefaultFolders);
    IsPage(
        person, "CRepairProfileDlg",
        {"Select the file and click next to repair:",
         "If you have multiple Outlook profiles or profiles for multiple users on your computer then all the "
         "associated PST files will be listed here. Thus, you can select the PST file that needs to be "
         "repaired.",
         "File name", "Back", "Next"});
    EXPECT_FALSE(person.CanClick("Next"));
    EXPECT_EQ(TabOrder(person), QStringList({"File name", "Back"}));
    person.Clicks(Text(wizard.folder / "mail/a.pst"));
    person.Clicks("Next");
    IsPage(person, "CCustom2Dlg",
           {"Select the appropriate scanning method", "Normal Scan", "Smart Scan",
            "Normal Scan: Linear yet advanced PST repair method. This scan is suitable when your PST file "
            "has minor "
            "corruptions or when Outlook refuses to open due to PST errors.\n\nSmart Scan: Extremely "
            "advanced PST "
            "repair mode. This scan is ideal when your PST file has severe corruption, your PST file is "
            "broken, you "
            "are looking to recover deleted emails, contacts, tasks etc..",
            "Click browse to select destination path, where new PST file will be created",
            "Select destination path :", "Browse...", "Back", "&Repair"});
    EXPECT_EQ(TabOrder(person),
              QStringList({"Normal Scan", "Select destination path :", "Browse...", "Back"}));
    person.Clicks("Back");
    person.Clicks("Back");

    wizard.GoesOnWith(CWizardRun::kBrowse);
    IsPage(
        person, "CSelectPstDlg",
        {"Click browse to locate the PST file that needs to be repaired",
         "\nDefault Store Path for Outlook PST file\n\nWindows XP or Windows Server 2003: %your "
         "drive%:\\Documents and Settings\\username\\Local Settings\\Application Data\\Microsoft\\Outlook\n\n"
         "Windows Vista or Windows 7: %your drive%:\\users\\username\\AppData\\Local\\Microsoft\\Outlook\n\n",
         "Select PST file :", "Browse...", "Back", "Next"});
    EXPECT_FALSE(person.CanClick("Next"));
    EXPECT_EQ(TabOrder(person), QStringList({"Browse...", "Back", "Select PST file :"}));
    person.Clicks("Back");

    wizard.GoesOnWith(CWizardRun::kSearch);
    IsPage(person, "CFindPstDlg",
           {"Select the appropriate drive and click find to search",
            "In case your PST file is not located in the default store location as mentioned below. Use this "
            "option "
            "to search your PST file(s).",
            "Please select drive to search pst:", "Fin&d", "File name", "Back", "Next"});
    EXPECT_FALSE(person.CanClick("Next"));
    EXPECT_EQ(TabOrder(person), QStringList({"Please select drive to search pst:", "Find",
                                             "Folder being searched", "File name", "Back"}));
    person.ClosesWindow();
    EXPECT_TRUE(wizard.EndsWith(false));
}

TEST(WizardPages, ShowTheBannerAcrossTheirWidth)
{
    CWizardRun wizard;
    wizard.Begins();
    for (const int width : {700, 1100}) {
        CPerson::OnUi([&] {
            QWidget* page = CPerson::Window();
            page->resize(width, page->height());
            const QImage picture = page->grab().toImage();
            const QColor plain = page->palette().color(QPalette::Window);
            EXPECT_NE(picture.pixelColor(2, 2), plain);
            EXPECT_NE(picture.pixelColor(picture.width() - 3, 40), plain);
            EXPECT_EQ(picture.pixelColor(2, 70), plain) << "its height is its own";
        });
    }
}

TEST(WizardDefaultFolders, ListTheStoresOfEachFolderAndTheRowDecides)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path first = wizard.MakeFile("one/b.OST").parent_path();
    const path broken = wizard.MakeFile("one/\xFF\xE9 <b>x.pst");
    for (const char* name : {"one/a.Pst", "one/c d \xC3\xA4.PST", "one/a.ost", "one/x.pst.bak", "one/pst",
                             "one/z.pst/inside.pst", "one/sub/below.pst", "two/late.pst"})
        wizard.MakeFile(name);
    std::filesystem::create_directory_symlink(first, first / "folder.pst");
    std::filesystem::create_symlink(first / "a.Pst", first / "link.pst");
    wizard.host.mailFolders = {wizard.folder / "absent", first, wizard.folder / "two"};
    wizard.BeginsAt(CWizardRun::kDefaultFolders);
    person.Sees("File name");

    const QString one = Text(first);
    const QStringList rows = {one + "/a.Pst",
                              one + QString::fromUtf8("/c d \xC3\xA4.PST"),
                              one + "/link.pst",
                              one + QString::fromUtf8("/\xEF\xBF\xBD\xEF\xBF\xBD <b>x.pst"),
                              one + "/a.ost",
                              one + "/b.OST",
                              Text(wizard.folder / "two/late.pst")};
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

TEST(WizardDefaultFolders, WithoutStoresLeadNowhere)
{
    CWizardRun wizard;
    wizard.host.mailFolders = {wizard.MakeFile("mail/notes.txt").parent_path()};
    wizard.BeginsAt(CWizardRun::kDefaultFolders);
    wizard.person.Sees("File name");
    EXPECT_EQ(wizard.person.Rows(), QStringList());
    wizard.person.ClicksBelowTheRows();
    wizard.person.Presses(Qt::Key_Space);
    EXPECT_FALSE(wizard.person.CanClick("Next"));
}

TEST(WizardBrowse, NextNeedsAnExistingFileOfTheKinds)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const struct {
        const char* name;
        bool fits;
    } cases[] = {{"archive.PST", true},
                 {"notes.txt", false},
                 {"m\xC3\xA4il box \xE2\x82\xAC/old mail.oSt", true},
                 {"archive.pst.bak", false}};
    wizard.BeginsAt(CWizardRun::kBrowse);
    for (const auto& [name, fits] : cases) {
        const path file = wizard.MakeFile(name);
        person.Clicks("Browse...");
        person.ChoosesInFileDialog(Text(file));
        person.Sees(Text(file));
        EXPECT_EQ(person.CanClick("Next"), fits) << name;
        EXPECT_EQ(wizard.Choices().settings.sourcePath, file);
        EXPECT_EQ(wizard.Choices().sourceFileName, file.filename());
    }
}

TEST(WizardBrowse, CancellingAndWrongNamesChangeNothing)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("kept.pst");
    wizard.BeginsAt(CWizardRun::kBrowse);
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Text(file));
    person.Clicks("Browse...");
    ASSERT_TRUE(CPerson::WaitUntil(IsDialogOpen));
    person.Presses(Qt::Key_Escape);
    person.Sees(Text(file));
    // A path longer than any that the host opens: the chooser says so itself and stays.
    person.Clicks("Browse...");
    ASSERT_TRUE(CPerson::WaitUntil(IsDialogOpen));
    CPerson::BeginOnUi([&] {
        CPerson::Window()->findChild<QLineEdit*>()->setText(Text(wizard.folder.Path()) + "/" +
                                                            QString(4'000, QLatin1Char('x')) + ".pst");
        QTest::keyClick(CPerson::Window()->findChild<QLineEdit*>(), Qt::Key_Return);
    });
    ASSERT_TRUE(CPerson::WaitUntil([] { return CPerson::Window() != nullptr && !IsDialogOpen(); }));
    person.Presses(Qt::Key_Escape);
    ASSERT_TRUE(CPerson::WaitUntil(IsDialogOpen));
    person.Presses(Qt::Key_Escape);
    person.Sees(Text(file));
    EXPECT_TRUE(person.CanClick("Next"));
    EXPECT_EQ(wizard.Choices().settings.sourcePath, file);
}

TEST(WizardBrowse, WhatHasVanishedCannotBeConfirmed)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("box/gone.pst");
    wizard.BeginsAt(CWizardRun::kBrowse);
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Text(file));
    person.Sees(Text(file));
    std::filesystem::remove(file);
    person.Clicks("Next");
    CPerson::OnUi([] {});  // the click has been handled
    EXPECT_FALSE(person.CanClick("Next"));
    person.Sees(Text(file));
    wizard.MakeFile("box/gone.pst");
    ComesBackToTheWindow();
    EXPECT_TRUE(person.CanClick("Next"));
    std::filesystem::remove_all(file.parent_path());
    ComesBackToTheWindow();
    EXPECT_FALSE(person.CanClick("Next"));
}

TEST(WizardScan, GoesBackToWhereItCameFromAndForgetsTheMethod)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("mail/a.pst");
    const path out = wizard.folder / "out put \xC3\xA9";
    std::filesystem::create_directory(out);
    wizard.host.mailFolders = {file.parent_path()};
    wizard.host.drives = {file.parent_path()};
    const struct {
        const char16_t* choice;
        const char* heading;
        std::function<void()> choose;
    } origins[] = {
        {CWizardRun::kDefaultFolders,
         "Select the file and click next to repair:", [&] { person.Clicks(Text(file)); }},
        {CWizardRun::kBrowse, "Click browse to locate the PST file that needs to be repaired",
         [&] {
             person.Clicks("Browse...");
             person.ChoosesInFileDialog(Text(file));
         }},
        {CWizardRun::kSearch, "Select the appropriate drive and click find to search",
         [&] {
             person.Clicks("Fin&d");
             person.Clicks(Text(file));
         }},
    };
    wizard.Begins();
    for (const auto& origin : origins) {
        wizard.GoesOnWith(origin.choice);
        person.Sees(origin.heading);
        origin.choose();
        person.Clicks("Next");
        person.Sees("Select the appropriate scanning method");
        EXPECT_TRUE(person.IsChecked("Normal Scan"));
        EXPECT_FALSE(wizard.Choices().settings.smartScan);
        // The destination of an earlier visit is kept, but does not count as chosen.
        EXPECT_FALSE(person.CanClick("&Repair"));
        EXPECT_EQ(wizard.Choices().settings.destinationFolder,
                  origin.choice == CWizardRun::kDefaultFolders ? "" : out);
        person.Clicks("Smart Scan");
        person.Clicks("Browse...");
        person.SeesWindow(QString::fromUtf16(kFolderDialog));
        person.ChoosesInFileDialog(Text(out));
        person.Sees(Text(out));
        EXPECT_TRUE(person.CanClick("&Repair"));
        EXPECT_TRUE(wizard.Choices().settings.smartScan);
        person.Clicks("Back");
        person.Sees(origin.heading);
        EXPECT_TRUE(wizard.Choices().settings.smartScan);
        EXPECT_EQ(wizard.Choices().settings.sourcePath, file);
        person.Clicks("Back");
        person.Sees("Open Default PST File");
    }
}

TEST(WizardScan, RepairNeedsTheDestination)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("mail/a.pst");
    wizard.host.mailFolders = {file.parent_path()};
    wizard.BeginsAt(CWizardRun::kDefaultFolders);
    person.Clicks(Text(file));
    person.Clicks("Next");
    const path out = wizard.folder / "out";
    std::filesystem::create_directory(out);
    person.Clicks("Browse...");
    person.SeesWindow(QString::fromUtf16(kFolderDialog));
    person.Presses(Qt::Key_Escape);
    person.Sees("Normal Scan");
    EXPECT_FALSE(person.CanClick("&Repair"));
    EXPECT_EQ(wizard.Choices().settings.destinationFolder, "");
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Text(out));
    person.Sees(Text(out));
    // Gone, and a file of its name in its place.
    std::filesystem::remove(out);
    wizard.MakeFile("out");
    person.Clicks("&Repair");
    CPerson::OnUi([] {});  // the click has been handled
    EXPECT_FALSE(person.CanClick("&Repair"));
    EXPECT_FALSE(wizard.Result().has_value());
    std::filesystem::remove(out);
    std::filesystem::create_directory(out);
    ComesBackToTheWindow();
    person.Clicks("&Repair");
    EXPECT_TRUE(wizard.EndsWith(true));
    EXPECT_EQ(wizard.Choices().settings.destinationFolder, out);
}

TEST(WizardKeyboard, LeadsFromTheStartToRepair)
{
    CWizardRun wizard;
    CPerson& person = wizard.person;
    const path file = wizard.MakeFile("mail/a.pst");
    wizard.MakeFile("mail/b.pst");
    wizard.host.mailFolders = {file.parent_path()};
    wizard.Begins();
    person.Presses(Qt::Key_Down);
    person.Presses(Qt::Key_Return);
    person.Sees("Select PST file :");
    person.Presses(Qt::Key_B, Qt::AltModifier);
    person.Sees("Open Default PST File");
    person.Presses(Qt::Key_O, Qt::AltModifier);
    person.Presses(Qt::Key_N, Qt::AltModifier);
    person.Sees("Select the file and click next to repair:");
    person.Presses(Qt::Key_Down);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return wizard.choices.settings.sourcePath == file; }));
    person.Presses(Qt::Key_Return);
    person.Sees("Normal Scan");
    person.Presses(Qt::Key_S, Qt::AltModifier);
    person.Presses(Qt::Key_W, Qt::AltModifier);
    person.SeesWindow(QString::fromUtf16(kFolderDialog));
    person.ChoosesInFileDialog(Text(wizard.folder.Path()));
    person.Sees(Text(wizard.folder.Path()));
    person.Presses(Qt::Key_R, Qt::AltModifier);
    ASSERT_TRUE(wizard.EndsWith(true));
    const app::RepairChoices choices = wizard.Choices();
    EXPECT_EQ(choices.settings.sourcePath, file);
    EXPECT_EQ(choices.sourceFileName, "a.pst");
    EXPECT_EQ(choices.settings.destinationFolder, wizard.folder.Path());
    EXPECT_TRUE(choices.settings.smartScan);
}

TEST(WizardKeyboard, EscapeEndsItWithoutARun)
{
    CWizardRun wizard;
    wizard.BeginsAt(CWizardRun::kBrowse);
    wizard.person.Sees("Select PST file :");
    wizard.person.Presses(Qt::Key_Escape);
    EXPECT_TRUE(wizard.EndsWith(false));
}

}  // namespace
}  // namespace pastille::tests
