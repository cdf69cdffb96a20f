#include <QAction>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QTableView>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "format/PropertyIds.h"
#include "tests/app/Desktop.h"
#include "tests/preview/Panes.h"
#include "tests/support/StoreExample.h"

namespace pastille::tests {
namespace {

/// What a folder's items must show, in store order.
struct Expected {
    QStringList subjects;
    QStringList bodies;  ///< the first line of each
};

QString TextOf(const StoreMessage& message, std::uint16_t id)
{
    for (const StoreProperty& property : message.properties) {
        if (property.id == id)
            return QStringDecoder(QStringDecoder::Utf16LE)(
                QByteArrayView(property.value.data(), static_cast<qsizetype>(property.value.size())));
    }
    return {};
}

void AddExpected(const StoreFolder& folder, std::map<QString, Expected>& all)
{
    Expected& expected = all[QString::fromStdU16String(folder.name)];
    for (const StoreMessage& message : folder.messages) {
        expected.subjects.append(TextOf(message, format::pid::kSubject));
        expected.bodies.append(TextOf(message, format::pid::kBody).section(QStringLiteral("\r\n"), 0, 0));
    }
    for (const StoreFolder& below : folder.folders)
        AddExpected(below, all);
}

void LookAtMails(const Expected& expected)
{
    const QStringList rows = ItemRows();
    ASSERT_EQ(rows.size(), expected.subjects.size());
    for (qsizetype row = 0; row < rows.size(); ++row) {
        EXPECT_EQ(rows[row].section(" | ", 2, 2), expected.subjects[row]);
        CPerson::OnUi([] { QTest::keyClick(ItemTable(), Qt::Key_Down); });
        EXPECT_TRUE(BodyShows(expected.bodies[row])) << expected.bodies[row].toStdString();
    }
    // Below the last row there is none.
    CPerson::OnUi([] { QTest::keyClick(ItemTable(), Qt::Key_Down); });
    EXPECT_TRUE(BodyShows(expected.bodies.back()));
}

/// Folders can be chosen once the run is over and the whole new store was read.
void AwaitsTheStore()
{
    ASSERT_TRUE(CPerson::WaitUntil([] {
        const auto actions = CPerson::Window()->actions();
        const auto open = std::ranges::find(actions, QStringLiteral("&Open..."), &QAction::text);
        return open != actions.end() && (*open)->isEnabled() &&
               FolderTree()->cursor().shape() != Qt::BusyCursor;
    }));
}

TEST(WalkThroughARepairedStore, ShowsEveryFolderEveryItemAndItsBody)
{
    CDesktop desktop;
    desktop.Starts();
    CPerson person;
    Repair(person, ExampleStore(), desktop.MakeFolder("to"), true);
    person.Sees("Total items :");
    EXPECT_FALSE(TreeTexts().empty()) << "the tree grows with the run";
    EXPECT_EQ(ItemRows(), QStringList()) << "the rows of the run go at its end";
    person.Clicks("OK");
    person.IsAtTheFrame();
    AwaitsTheStore();
    std::map<QString, Expected> folders;
    for (const StoreFolder& folder : DescribeExample().folders)
        AddExpected(folder, folders);
    folders["Orphaned Mails"];
    for (const auto& [name, expected] : folders) {
        SCOPED_TRACE(name.toStdString());
        ClicksNode(QStringLiteral("%1(%2)").arg(name).arg(expected.subjects.size()));
        if (name == "Contacts" || name == "Calendar")
            EXPECT_EQ(GridCategories(), expected.subjects);
        else if (expected.subjects.empty())
            EXPECT_EQ(ItemRows(), QStringList());
        else
            LookAtMails(expected);
    }
}

/// Items of every folder whose node tells their number, looked at one by one.
qsizetype LookAtEverything()
{
    static const QRegularExpression counted("^ *(.*\\((\\d+)\\))$");
    qsizetype seen = 0;
    QStringList looked;
    for (const QString& node : TreeTexts()) {
        const auto match = counted.match(node);
        // Of two nodes of one text only the first can be named.
        if (!match.hasMatch() || looked.contains(match.captured(1)))
            continue;
        SCOPED_TRACE(node.toStdString());
        looked.append(match.captured(1));
        ClicksNode(match.captured(1));
        const qsizetype categories = GridCategories().size();
        const qsizetype rows = ItemRows().size();
        EXPECT_EQ(categories + rows, match.captured(2).toInt());
        for (qsizetype row = 0; row < rows; ++row)
            CPerson::OnUi([] { QTest::keyClick(ItemTable(), Qt::Key_Down); });
        seen += categories + rows;
    }
    return seen;
}

TEST(WalkThroughRealStores, ShowsAsManyItemsAsWereCounted)
{
    const char* const chosen = std::getenv("PASTILLE_SAMPLES");
    const auto samples =
        std::filesystem::weakly_canonical(chosen != nullptr ? chosen : PASTILLE_SAMPLES_DEFAULT);
    if (!std::filesystem::exists(samples / "outlook.pst"))
        GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    for (const auto& [name, smart] : {std::pair("outlook.pst", false), {"mailbox.ost", true}}) {
        SCOPED_TRACE(name);
        CDesktop desktop;
        desktop.Starts();
        CPerson person;
        Repair(person, samples / name, desktop.MakeFolder("to"), smart);
        person.Sees("Total items :");
        const QStringList texts = person.VisibleTexts();
        const int total = texts.value(texts.indexOf("Total items :") + 1).toInt();
        EXPECT_GT(total, 0);
        person.Clicks("OK");
        person.IsAtTheFrame();
        AwaitsTheStore();
        EXPECT_EQ(LookAtEverything(), total);
    }
}

}  // namespace
}  // namespace pastille::tests
