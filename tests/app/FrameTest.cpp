#include <QMenu>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>

#include <gtest/gtest.h>

#include <fstream>

#include "app/MainFrame.h"
#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

/// The program with its frame in front.
class Frame : public testing::Test {
protected:
    Frame() { m_desktop.StartsAtTheFrame(); }

    /// Entries of a menu with their keys, sub-menus as "name >".
    static QStringList EntriesOf(const QString& title)
    {
        return CPerson::OnUi([&] {
            QStringList entries;
            for (const QMenu* menu : CPerson::Window()->findChildren<QMenu*>()) {
                for (const QAction* entry : menu->actions()) {
                    if (menu->title() != title || entry->isSeparator())
                        continue;
                    const QString keys = entry->shortcut().toString();
                    entries.append(entry->text() + (entry->menu() != nullptr ? " >"
                                                    : keys.isEmpty()         ? ""
                                                                             : " | " + keys));
                }
            }
            return entries;
        });
    }
    static QToolBar* ToolBar() { return CPerson::Window()->findChild<QToolBar*>("Standard ToolBar"); }
    static QStringList ToolBarEntries()
    {
        return CPerson::OnUi([] {
            QStringList entries;
            for (const QAction* action : ToolBar()->actions())
                entries.append(action->text());
            return ToolBar()->isVisible() ? entries : QStringList();
        });
    }
    static QWidget* Pane(const char* name) { return CPerson::Window()->findChild<QWidget*>(name); }
    static QRect Place(const char* name) { return {Pane(name)->mapToGlobal(QPoint()), Pane(name)->size()}; }
    CDesktop m_desktop;
    CPerson m_person;
};

TEST_F(Frame, HasTheCommandsWithTheirKeysAndPrompts)
{
    m_person.SeesWindow("Pastille");
    EXPECT_EQ(EntriesOf("&File"),
              QStringList({"&Repair PST File | Alt+R", "&Open... | Ctrl+O", "Exit | Alt+F4"}));
    EXPECT_EQ(EntriesOf("&View"), QStringList({"&Toolbars >"}));
    EXPECT_EQ(EntriesOf("&Toolbars").value(0), "&Toolbar");
    EXPECT_EQ(EntriesOf("&Help"),
              QStringList({"Content | F1", "Updates", "How to repair outlook data file (.pst) ?",
                           "How to import recovered outlook data file (.pst) ?", "About Us | Alt+B"}));
    EXPECT_EQ(ToolBarEntries(), QStringList({"&Repair PST File", "Content", "Updates"}));
    m_person.Presses(Qt::Key_R, Qt::AltModifier);
    m_person.Sees("Open Default PST File");
    CPerson::OnUi([] {
        const QWidget* wizard = CPerson::Window();
        const QPoint off =
            wizard->frameGeometry().center() - wizard->parentWidget()->frameGeometry().center();
        EXPECT_LE(off.manhattanLength(), 2) << off.x() << " " << off.y();
    });
    m_person.ClosesWindow();
    m_person.IsAtTheFrame();
    m_person.Presses(Qt::Key_B, Qt::AltModifier);
    m_person.SeesDialog("CAboutDlg");
    m_person.ClosesWindow();
    m_person.IsAtTheFrame();

    // The prompt of the entry under the mouse stands in the status bar.
    m_person.Clicks("&Help");
    m_person.Presses(Qt::Key_Down);
    EXPECT_TRUE(CPerson::WaitUntil([] {
        return CPerson::Window()->findChild<QStatusBar*>()->currentMessage() == "Launch help manual";
    }));
    m_person.Presses(Qt::Key_Escape);
}

TEST_F(Frame, HasItsPanesAtTheirPlacesAndSwitchesThem)
{
    CPerson::OnUi([] {
        EXPECT_EQ(Place("CFormViewLeft").width(), 245);
        EXPECT_EQ(Place("CListViewRight").height(), 400);
        EXPECT_LT(Place("CFormViewLeft").right(), Place("CListViewRight").left());
        EXPECT_LT(Place("CListViewRight").bottom(), Place("CDisplayBody").top());
        EXPECT_EQ(Place("CListViewRight").left(), Place("CDisplayBody").left());
    });
    for (const auto& [view, shown, gone] : {std::tuple(0u, "CGridView", "CListViewRight"),
                                            {2u, "CGridView", "CListViewRight"},
                                            {1u, "CListViewRight", "CGridView"}}) {
        CPerson::OnUi([&, view = view] { m_desktop.App().MainFrame()->SwitchUpperPane(view); });
        EXPECT_TRUE(CPerson::WaitUntil([&, shown = shown, gone = gone] {
            return Pane(shown) != nullptr && Pane(shown)->isVisible() && Pane(gone) == nullptr;
        })) << view;
        EXPECT_EQ(CPerson::OnUi([shown = shown] { return Pane(shown)->height(); }), 400) << view;
    }
}

TEST_F(Frame, OpensTheHelpFileElseTheManualElseSaysSo)
{
    const auto installed = m_desktop.Host().installationFolder;
    const QString base = Shown(installed);
    std::ofstream(installed / "pastille.chm") << "help";
    m_person.Presses(Qt::Key_F1);
    EXPECT_EQ(m_desktop.OpenedPath(), base + "/pastille.chm");
    std::filesystem::remove(installed / "pastille.chm");
    for (const auto& [entry, page] : {std::pair("Content", "index"),
                                      {"How to repair outlook data file (.pst) ?", "repair"},
                                      {"How to import recovered outlook data file (.pst) ?", "import"}}) {
        m_person.PicksFromMenu("&Help", entry);
        EXPECT_EQ(m_desktop.OpenedPath(), base + "/docs/manual/" + page + ".html");
        EXPECT_TRUE(std::filesystem::exists(installed / "docs/manual" / (std::string(page) + ".html")));
    }
    std::filesystem::remove_all(installed / "docs");
    m_person.PicksFromMenu("&Help", "Content");
    m_person.Answers("Information", "Unable to locate Help File", "OK");
}

TEST_F(Frame, StartsTheUpdaterAtOnceAndOnRequest)
{
    const QString updater = Shown(m_desktop.Host().installationFolder / "orvaneupdate.EXE");
    EXPECT_EQ(m_desktop.Host().TakeStarted(), QStringList({updater + " /SilentCheck /NoIcon /NoUpdateSelf"}));
    m_person.PicksFromMenu("&Help", "Updates");
    QStringList started;
    CPerson::WaitUntil([&] { return !(started = m_desktop.Host().TakeStarted()).empty(); });
    EXPECT_EQ(started, QStringList({updater + " /NoUpdateSelf"}));
}

TEST_F(Frame, HasItsToolBarAsTheUserLeftIt)
{
    CPerson::BeginOnUi([] {
        for (QAction* action : CPerson::Window()->actions()) {
            if (action->text() == "Customize...")
                action->trigger();
        }
    });
    m_person.SeesWindow("Customize");
    m_person.Clicks("Updates");
    m_person.Presses(Qt::Key_Space);
    m_person.Clicks("OK");
    m_person.IsAtTheFrame();
    const QStringList chosen{"&Repair PST File", "Content"};
    EXPECT_EQ(ToolBarEntries(), chosen);
    m_desktop.Ends();

    m_desktop.StartsAtTheFrame();
    EXPECT_EQ(ToolBarEntries(), chosen);
    for (const char* entry : {"&View", "&Toolbars", "&Toolbar"})
        m_person.Clicks(entry);
    EXPECT_TRUE(CPerson::WaitUntil([] { return !ToolBar()->isVisible(); }));
    m_desktop.Ends();

    m_desktop.StartsAtTheFrame();
    EXPECT_EQ(ToolBarEntries(), QStringList());
}

TEST_F(Frame, AsksBeforeItGoesAndGoesOnlyAfterYes)
{
    const char* question = "Do you want to exit the application?";
    m_person.PicksFromMenu("&File", "Exit");
    m_person.Answers("Pastille", question, "&No");
    m_person.IsAtTheFrame();
    m_person.ClosesWindow();
    m_person.Answers("Pastille", question, "&Yes");
    m_person.SeesNoWindow();
}

}  // namespace
}  // namespace pastille::tests
