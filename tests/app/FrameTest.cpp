#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>

#include <gtest/gtest.h>

#include <fstream>

#include "app/MainFrame.h"
#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

/// Entries of a menu with their keys, sub-menus as "name >".
QStringList EntriesOf(const QString& title)
{
    return CPerson::OnUi([&] {
        QStringList entries;
        for (const QMenu* menu : CPerson::Window()->findChildren<QMenu*>()) {
            if (menu->title() != title)
                continue;
            for (const QAction* entry : menu->actions()) {
                if (entry->isSeparator())
                    continue;
                const QString keys = entry->shortcut().toString();
                entries.append(entry->menu() != nullptr ? entry->text() + QStringLiteral(" >")
                               : keys.isEmpty()         ? entry->text()
                                                        : entry->text() + QStringLiteral(" | ") + keys);
            }
        }
        return entries;
    });
}

QStringList ToolBarEntries()
{
    return CPerson::OnUi([] {
        QStringList entries;
        const auto* bar = CPerson::Window()->findChild<QToolBar*>(QStringLiteral("Standard ToolBar"));
        if (bar == nullptr || !bar->isVisible())
            return entries;
        for (const QAction* action : bar->actions())
            entries.append(action->text());
        return entries;
    });
}

QWidget* Pane(const char* name)
{
    return CPerson::Window()->findChild<QWidget*>(QString::fromLatin1(name));
}

TEST(FrameBars, HaveTheCommandsWithTheirKeysAndPrompts)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    EXPECT_EQ(CPerson::OnUi([] { return CPerson::Window()->windowTitle(); }), QStringLiteral("Pastille"));
    EXPECT_EQ(EntriesOf("&File"), QStringList({"&Repair PST File | Alt+R", "Exit | Alt+F4"}));
    EXPECT_EQ(EntriesOf("&View"), QStringList({"&Toolbars >"}));
    EXPECT_EQ(EntriesOf("&Toolbars").value(0), QStringLiteral("&Toolbar"));
    EXPECT_EQ(EntriesOf("&Help"),
              QStringList({"Content | F1", "Updates", "How to repair outlook data file (.pst) ?",
                           "How to import recovered outlook data file (.pst) ?", "About Us | Alt+B"}));
    EXPECT_EQ(ToolBarEntries(), QStringList({"&Repair PST File", "Content", "Updates"}));

    // The prompt of the entry under the mouse stands in the status bar.
    CPerson person;
    person.Clicks("&Help");
    person.Presses(Qt::Key_Down);
    EXPECT_TRUE(CPerson::WaitUntil([] {
        const auto* frame = qobject_cast<QMainWindow*>(CPerson::Window());
        return frame != nullptr &&
               frame->statusBar()->currentMessage() == QStringLiteral("Launch help manual");
    }));
    person.Presses(Qt::Key_Escape);
}

TEST(FramePanes, StandAtTheirPlacesAndSwitch)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson::OnUi([&] {
        EXPECT_EQ(Pane("CFormViewLeft")->width(), 245);
        EXPECT_EQ(Pane("CListViewRight")->height(), 400);
        const auto place = [](const char* name) {
            return QRect(Pane(name)->mapToGlobal(QPoint()), Pane(name)->size());
        };
        EXPECT_LT(place("CFormViewLeft").right(), place("CListViewRight").left());
        EXPECT_LT(place("CListViewRight").bottom(), place("CDisplayBody").top());
        EXPECT_EQ(place("CListViewRight").left(), place("CDisplayBody").left());
    });
    const auto switched = [&](unsigned view, const char* shown, const char* gone) {
        CPerson::OnUi([&] { desktop.App().MainFrame()->SwitchUpperPane(view); });
        EXPECT_TRUE(CPerson::WaitUntil([&] {
            return Pane(shown) != nullptr && Pane(shown)->isVisible() && Pane(gone) == nullptr;
        })) << view;
        EXPECT_EQ(CPerson::OnUi([&] { return Pane(shown)->height(); }), 400) << view;
    };
    switched(0, "CGridView", "CListViewRight");
    switched(2, "CGridView", "CListViewRight");
    switched(1, "CListViewRight", "CGridView");
}

TEST(FrameHelp, OpensTheHelpFileElseTheManualElseSaysSo)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson person;
    const auto installed = desktop.Host().installationFolder;
    const auto opened = [&] {
        QStringList addresses;
        CPerson::WaitUntil([&] { return !(addresses = desktop.Host().TakeOpened()).empty(); });
        return QUrl(addresses.join(' ')).toLocalFile();
    };
    const QString base = Shown(installed);

    std::ofstream(installed / "pastille.chm") << "help";
    person.Presses(Qt::Key_F1);
    EXPECT_EQ(opened(), base + "/pastille.chm");
    std::filesystem::remove(installed / "pastille.chm");
    person.Presses(Qt::Key_F1);
    EXPECT_EQ(opened(), base + "/docs/manual/index.html");
    person.PicksFromMenu("&Help", "How to repair outlook data file (.pst) ?");
    EXPECT_EQ(opened(), base + "/docs/manual/repair.html");
    person.PicksFromMenu("&Help", "How to import recovered outlook data file (.pst) ?");
    EXPECT_EQ(opened(), base + "/docs/manual/import.html");

    std::filesystem::remove_all(installed / "docs");
    person.PicksFromMenu("&Help", "Content");
    person.Sees("Unable to locate Help File");
    EXPECT_EQ(CPerson::OnUi([] { return CPerson::Window()->windowTitle(); }), QStringLiteral("Information"));
    person.Clicks("OK");
}

TEST(FrameUpdates, StartTheUpdaterAtOnceAndOnRequest)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    const QString updater = Shown(desktop.Host().installationFolder / "orvaneupdate.EXE");
    EXPECT_EQ(desktop.Host().TakeStarted(), QStringList({updater + " /SilentCheck /NoIcon /NoUpdateSelf"}));
    CPerson person;
    person.PicksFromMenu("&Help", "Updates");
    QStringList started;
    CPerson::WaitUntil([&] { return !(started = desktop.Host().TakeStarted()).empty(); });
    EXPECT_EQ(started, QStringList({updater + " /NoUpdateSelf"}));
}

TEST(FrameKeys, OpenTheWizardAndTheAboutBox)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson person;
    person.Presses(Qt::Key_R, Qt::AltModifier);
    person.Sees("Open Default PST File");
    person.ClosesWindow();
    person.IsAtTheFrame();
    person.Presses(Qt::Key_B, Qt::AltModifier);
    ASSERT_TRUE(CPerson::WaitUntil([] {
        return CPerson::Window() != nullptr && CPerson::Window()->objectName() == QStringLiteral("CAboutDlg");
    }));
    person.ClosesWindow();
}

TEST(FrameLayout, OfTheToolBarComesBackAtTheNextStart)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson person;
    CPerson::BeginOnUi([] {
        for (QAction* action : CPerson::Window()->actions()) {
            if (action->text() == QStringLiteral("Customize..."))
                action->trigger();
        }
    });
    person.SeesWindow("Customize");
    person.Clicks("Updates");
    person.Presses(Qt::Key_Space);
    person.Clicks("OK");
    person.IsAtTheFrame();
    const QStringList chosen{"&Repair PST File", "Content"};
    EXPECT_EQ(ToolBarEntries(), chosen);
    desktop.Ends();

    desktop.StartsAtTheFrame();
    EXPECT_EQ(ToolBarEntries(), chosen);
    person.Clicks("&View");
    person.Clicks("&Toolbars");
    person.Clicks("&Toolbar");
    EXPECT_TRUE(CPerson::WaitUntil([] {
        return !CPerson::Window()->findChild<QToolBar*>(QStringLiteral("Standard ToolBar"))->isVisible();
    }));
    desktop.Ends();

    desktop.StartsAtTheFrame();
    EXPECT_EQ(ToolBarEntries(), QStringList());
}

TEST(FrameExit, AsksAndGoesOnlyAfterYes)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson person;
    person.PicksFromMenu("&File", "Exit");
    person.Sees("Do you want to exit the application?");
    EXPECT_EQ(CPerson::OnUi([] { return CPerson::Window()->windowTitle(); }), QStringLiteral("Pastille"));
    person.Clicks("&No");
    person.IsAtTheFrame();
    person.ClosesWindow();
    person.Sees("Do you want to exit the application?");
    person.Clicks("&Yes");
    person.SeesNoWindow();
}

}  // namespace
}  // namespace pastille::tests
