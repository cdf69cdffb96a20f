#include <QPushButton>
#include <QRadioButton>
#include <QScreen>

#include <gtest/gtest.h>

#include <utility>

#include "app/DialogUnits.h"
#include "tests/app/Accessibility.h"
#include "tests/app/WizardRun.h"

namespace pastille::tests {
namespace {

struct Page {
    const char* className;
    const char* heading;
    QStringList tabOrder;  ///< buttons that are disabled are not in it
};

/// What the Tab key leads to, from what has the focus until that has it again.
QStringList TabOrder(CPerson& person)
{
    QStringList names;
    const auto focus = [] { return NameOf(CPerson::Window()->focusWidget()); };
    for (QString name = CPerson::OnUi(focus); !names.contains(name) && names.size() < 20;
         name = CPerson::OnUi(focus)) {
        names.append(name);
        person.Presses(Qt::Key_Tab);
        CPerson::Settle();
    }
    return names;
}

void ShowsTheBannerAcrossItsWidth()
{
    CPerson::OnUi([] {
        const QImage picture = CPerson::Window()->grab().toImage().scaled(CPerson::Window()->size());
        const QColor plain = CPerson::Window()->palette().color(QPalette::Window);
        EXPECT_NE(picture.pixelColor(2, 2), plain);
        EXPECT_NE(picture.pixelColor(picture.width() - 3, 40), plain);
        EXPECT_EQ(picture.pixelColor(2, 70), plain) << "its height is its own";
    });
}

void IsAt(CPerson& person, const Page& wanted)
{
    person.Sees(wanted.heading);
    CPerson::OnUi([&] {
        const QWidget* page = CPerson::Window();
        EXPECT_EQ(page->objectName(), QLatin1String(wanted.className));
        EXPECT_STREQ(page->metaObject()->className(),
                     qPrintable(QLatin1String("pastille::app::") + wanted.className));
        EXPECT_EQ(page->windowTitle(), QStringLiteral("Pastille"));
        EXPECT_FALSE(page->windowIcon().isNull());
        const QRect room = page->screen()->availableGeometry();
        EXPECT_EQ(page->size(), app::DialogUnits(*page, 370, 230).boundedTo(room.size()));
        EXPECT_TRUE(room.contains(page->frameGeometry()));
        for (const auto* button : page->findChildren<QPushButton*>()) {
            if (QStringList{"Back", "Next", "&Repair"}.contains(button->text())) {
                EXPECT_EQ(button->visibleRegion().boundingRect(), button->rect());
            }
        }
    });
    ShowsTheBannerAcrossItsWidth();
    EXPECT_EQ(AccessibilityFaults(), QStringList());
    EXPECT_EQ(TabOrder(person), wanted.tabOrder);
}

class WizardPages : public CWizardRun {};

TEST_F(WizardPages, HaveOneSizeAndAreReachedByTabInReadingOrder)
{
    const auto store = MakeFile("mail/a.pst");
    host.mailFolders = {store.parent_path()};
    host.drives = {folder};
    Begins();
    IsAt(person, {"CCustomDlg", "Open Default PST File", {"Open Default PST File", "Next"}});
    EXPECT_TRUE(person.IsChecked("Open Default PST File"));
    const std::pair<const char*, Page> pages[] = {
        {kSearch,
         {"CFindPstDlg",
          "Select the appropriate drive and click find to search",
          {"Please select drive to search pst:", "Find", "Folder being searched", "File name", "Back"}}},
        {kBrowse,
         {"CSelectPstDlg",
          "Click browse to locate the PST file that needs to be repaired",
          {"Browse...", "Back", "Select PST file :"}}},
        {kDefaultFolders,
         {"CRepairProfileDlg", "Select the file and click next to repair:", {"File name", "Back"}}}};
    for (const auto& [choice, page] : pages) {
        if (!person.IsSeen("Open Default PST File"))
            person.Clicks("Back");
        GoesOnWith(choice);
        IsAt(person, page);
    }
    person.Clicks(Shown(store));
    person.Clicks("Next");
    IsAt(person, {"CCustom2Dlg",
                  "Select the appropriate scanning method",
                  {"Normal Scan", "Complete recovery", "Select destination path :", "Browse...", "Back"}});
    person.ClosesWindow();
    person.IsAtTheFrame();
}

TEST_F(WizardPages, StayWhereTheUserPutThemInTheSizeTheUserGaveThem)
{
    Begins();
    const auto place = [] { return CPerson::OnUi([] { return CPerson::Window()->geometry(); }); };
    CPerson::OnUi([] { CPerson::Window()->move(210, 140); });
    person.Clicks("Next");
    person.Sees("File name");
    EXPECT_EQ(place().topLeft(), QPoint(210, 140));
    CPerson::OnUi([] { CPerson::Window()->setGeometry(30, 60, 900, 700); });
    for (const char* text : {"Open Default PST File", "File name"}) {
        person.Clicks(text == QLatin1String("File name") ? "Next" : "Back");
        person.Sees(text);
        EXPECT_EQ(place(), QRect(30, 60, 900, 700)) << text;
        ShowsTheBannerAcrossItsWidth();
    }
    person.Presses(Qt::Key_Escape);
    person.IsAtTheFrame();
}

TEST_F(WizardPages, HaveLargerChoicesAlsoWhenFontsAreSetInPixels)
{
    const QFont before = CPerson::OnUi([] { return QApplication::font(); });
    CPerson::OnUi([before] {
        QFont font = before;
        font.setPixelSize(20);
        QApplication::setFont(font);
    });
    Begins();
    CPerson::OnUi([] {
        const QWidget* choice = CPerson::Window()->findChild<QRadioButton*>();
        EXPECT_GT(QFontInfo(choice->font()).pixelSize(), 20);
    });
    desktop.Ends();
    CPerson::OnUi([&] { QApplication::setFont(before); });
}

}  // namespace
}  // namespace pastille::tests
