#include <QTreeWidget>

#include <gtest/gtest.h>

#include <functional>

#include "app/MainFrame.h"
#include "platform/Messages.h"
#include "preview/FormViewLeft.h"
#include "tests/app/Desktop.h"
#include "tests/preview/MadeStore.h"
#include "tests/preview/Panes.h"
#include "tests/support/StoreBuilder.h"
#include "writer/ItemProperties.h"

namespace pastille::tests {
namespace {

namespace property = writer::property;
using preview::CFormViewLeft;

/// The pane alone, with what it asks of its frame.
class CTree final : public preview::IPreviewFrame {
public:
    CTree()
    {
        CPerson::OnUi([this] {
            m_pane = std::make_unique<CFormViewLeft>(nullptr, *this);
            m_pane->resize(300, 500);
            m_pane->show();
        });
    }
    ~CTree() override
    {
        CPerson::OnUi([this] { m_pane.reset(); });
    }
    void Tell(const std::vector<CFormViewLeft::Announced>& folders)
    {
        CPerson::OnUi([&] { m_pane->AddFolders(u"mail", folders); });
    }
    /// What a click on the node shows: "mails" or the grid's number, and the folder's key.
    QString Choose(const QString& node)
    {
        m_shown.clear();
        ClicksNode(node);
        CPerson::OnUi([] {});
        return CPerson::OnUi([this] { return m_shown; });
    }
    CFormViewLeft& Pane() { return *m_pane; }
    bool isListFilling = false;

private:
    bool IsListFilling() const override { return isListFilling; }
    void ShowMails(const std::u16string& key) override
    {
        m_shown = "mails " + QString::fromStdU16String(key);
    }
    void ShowItems(preview::GridFamily family, const std::u16string& key) override
    {
        m_shown = QString::number(static_cast<int>(family)) + " " + QString::fromStdU16String(key);
    }

    std::unique_ptr<CFormViewLeft> m_pane;
    QString m_shown;
};

TEST(TreeOfARun, GrowsFromTheTopDownAndFollowsTheRun)
{
    CTree tree;
    tree.Tell({{0x8082, u"\\Inbox\\Sub\\Deep", u"IPF.Note"}});
    EXPECT_EQ(TreeTexts(), QStringList({"mail", "  Inbox", "    Sub", "      Deep"}));
    EXPECT_EQ(SelectedNode(), "Deep");
    tree.Tell({{0x8022, u"\\Inbox", u"IPF.Note"}, {0x8042, u"\\Contacts", u"IPF.Contact"}});
    tree.Tell({{platform::FolderMessage::kLostAndFound, u"\\Lost & Found", u""},
               {platform::FolderMessage::kOrphanedMails, u"\\Orphaned Mails", u""},
               {0x8022, u"\\Inbox", u"IPF.Note"}});
    EXPECT_EQ(TreeTexts(), QStringList({"mail", "  Inbox", "    Sub", "      Deep", "  Contacts",
                                        "  Lost & Found", "  Orphaned Mails"}));
    EXPECT_EQ(SelectedNode(), "Inbox");
    CPerson::OnUi([&] {
        tree.Pane().ShowCount(u"\\Inbox\\Sub", 12);
        tree.Pane().ShowCount(u"\\None", 1);
    });
    EXPECT_EQ(TreeTexts().at(2), "    Sub(12)");
    EXPECT_EQ(tree.Choose("Contacts"), "") << "nothing is shown while a run goes";
    CPerson::OnUi([&] { tree.Pane().BeginRun(); });
    EXPECT_EQ(TreeTexts(), QStringList());
}

TEST(TreeOfARun, HasAnImageForEachSpecialFolder)
{
    CTree tree;
    const std::vector<std::u16string> names{u"Inbox",    u"Deleted Items", u"Drafts", u"Contacts",
                                            u"Calendar", u"Notes",         u"Tasks",  u"Journals"};
    for (const auto& name : names)
        tree.Tell({{1, u"\\" + name, u""}});
    tree.Tell({{4369, u"\\Lost & Found", u""}, {4386, u"\\Orphaned Mails", u""}});
    tree.Tell({{2, u"\\inbox", u""}, {3, u"\\Other", u""}});
    CPerson::OnUi([&] {
        const auto* widget = tree.Pane().findChild<QTreeWidget*>();
        const QTreeWidgetItem* root = widget->topLevelItem(0);
        QList<QImage> images{root->icon(0).pixmap(16).toImage()};
        ASSERT_EQ(root->childCount(), 12);
        for (int child = 0; child < 10; ++child) {
            const QImage image = root->child(child)->icon(0).pixmap(16).toImage();
            EXPECT_FALSE(image.isNull());
            EXPECT_FALSE(images.contains(image)) << child;
            images.append(image);
        }
        for (int child = 10; child < 12; ++child)
            EXPECT_EQ(root->child(child)->icon(0).pixmap(16).toImage(), images.front()) << child;
    });
}

/// A store with a folder for each container class.
const std::vector<std::pair<std::u16string, QString>> kRoutes{
    {u"IPM.Contact", "0"},    {u"IPF.Contact", "0"},     {u"IPM.Task", "1"},
    {u"IPF.Task", "1"},       {u"IPM.Appointment", "2"}, {u"IPF.Appointment", "2"},
    {u"IPM.StickyNote", "3"}, {u"IPF.StickyNote", "3"},  {u"IPM.Journal", "4"},
    {u"IPF.Journal", "4"},    {u"IPM.Activity", "4"},    {u"IPF.Activity", "4"},
    {u"IPF.Note", "mails"},   {u"IPF.contact", "mails"}, {u"IPF.Contact.X", "mails"}};

TEST(TreeOfAStore, ChoosesThePaneByTheContainerClass)
{
    CPreviewedStore store([](writer::IStoreFolder& root) {
        for (const auto& [containerClass, route] : kRoutes)
            AddFolder(root, u"F " + containerClass, containerClass);
    });
    CTree tree;
    std::atomic<bool> isOpen{false};
    CPerson::OnUi([&] {
        tree.Pane().ShowStore({[&] { return store.OpenUnread(); }, [&](const auto&) { isOpen = true; },
                               [](const std::string& reason) { ADD_FAILURE() << reason; }, true});
    });
    ASSERT_TRUE(CPerson::WaitUntil([&] { return isOpen.load(); }));
    for (const auto& [containerClass, route] : kRoutes) {
        const QString name = QString::fromStdU16String(u"F " + containerClass);
        EXPECT_EQ(tree.Choose(name + "(0)"), route + " \\\\Mailbox\\" + name);
    }
    EXPECT_EQ(tree.Choose("Mailbox"), "mails \\\\Mailbox");
    tree.isListFilling = true;
    EXPECT_EQ(tree.Choose("F IPF.Task(0)"), "");
    EXPECT_EQ(SelectedNode(), "F IPF.Task(0)");
    // What fills the list sets the selection back to what the list shows.
    tree.isListFilling = false;
    CPerson::OnUi([&] { tree.Pane().Reselect(); });
    EXPECT_EQ(SelectedNode(), "Mailbox");
}

TEST(TreeOfAStore, MendsWhatARunCouldNotTellRight)
{
    CPreviewedStore store([](writer::IStoreFolder& root) {
        const auto odd = AddFolder(root, u"A\\B", u"IPF.Note");
        AddFolder(*odd, u"Below\u202Ename", u"IPF.Task");
        AddItem(*odd, u"IPM.Note", [](writer::IMessageItem& item) { item.SetText(property::Subject, u"x"); });
        AddFolder(root, u"Empty", u"");
    });
    CTree tree;
    tree.Tell({{1, u"\\A\\B", u"IPF.Note"}, {2, u"\\Gone", u"IPF.Note"}});
    std::atomic<int> opened{0};
    CPerson::OnUi([&] {
        tree.Pane().ShowStore({[&] { return store.OpenUnread(); }, [&](const auto&) { ++opened; },
                               [](const std::string& reason) { ADD_FAILURE() << reason; }, false});
    });
    const QStringList expected{"Mailbox", "  Deleted Items(0)", "  A\\B(1)",
                               QStringLiteral("    Below\uFFFDname(0)"), "  Empty(0)"};
    EXPECT_TRUE(CPerson::WaitUntil([&] { return TreeTexts() == expected; }))
        << TreeTexts().join(u'\n').toStdString();
    EXPECT_EQ(tree.Choose(expected[3].trimmed()), QString("1 \\\\Mailbox\\A\\B\\Below\u202Ename"));
}

/// A store that a program has not made: its folders may share one name.
TEST(TreeOfAStore, HasEachOfManyFoldersOfOneName)
{
    constexpr qsizetype kFolders = 1'000;
    StoreDescription description;
    description.folders.assign(kFolders, {.name = u"Twin"});
    const CTemporaryFolder folder;
    CBuiltStore(description).WriteTo(folder.Path() / "twins.pst");
    component::CBuiltInComponent component(platform::HostFileSystem(), folder.Path() / "profiles");
    CTree tree;
    std::atomic<bool> isOpen{false};
    CPerson::OnUi([&] {
        tree.Pane().ShowStore({[&] {
                                   return std::make_shared<preview::CPreviewStore>(
                                       component, folder.Path() / "twins.pst", "windows-1252");
                               },
                               [&](const auto&) { isOpen = true; },
                               [](const std::string& reason) { ADD_FAILURE() << reason; }, true});
    });
    EXPECT_TRUE(CPerson::WaitUntil([&] {
        return isOpen &&
               FolderTree()->findItems("Twin(0)", Qt::MatchExactly | Qt::MatchRecursive).size() == kFolders;
    }));
}

TEST(TreeOfTheFrame, KeepsItsStoreWhenAnotherCannotBeOpened)
{
    CPreviewedStore store([](writer::IStoreFolder& root) { AddFolder(root, u"Here", u""); });
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson person;
    person.Presses(Qt::Key_O, Qt::ControlModifier);
    person.ChoosesInFileDialog(Shown(store.Path()));
    ASSERT_TRUE(CPerson::WaitUntil([] { return TreeTexts().contains("  Here(0)"); }));
    person.PicksFromMenu("&File", "&Open...");
    person.ChoosesInFileDialog(Shown(std::filesystem::path(PASTILLE_SOURCE_FOLDER) / "CMakeLists.txt"));
    person.SeesWindow("Error");
    person.Clicks("OK");
    EXPECT_TRUE(TreeTexts().contains("  Here(0)"));
    ClicksNode("Here(0)");
    EXPECT_EQ(ItemRows(), QStringList());
}

TEST(TreeOfTheFrame, LeadsByTabThroughPanesThatAreSeenOnASmallScreen)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson person;
    // The list is another one than the frame began with.
    CPerson::OnUi([&] {
        desktop.App().MainFrame()->SwitchUpperPane(0);
        desktop.App().MainFrame()->SwitchUpperPane(1);
        desktop.App().MainFrame()->resize(640, 480);
        FolderTree()->setFocus();
    });
    for (const char* name : {"Items", "Find in this list"}) {
        person.Presses(Qt::Key_Tab);
        CPerson::Settle();
        EXPECT_EQ(CPerson::OnUi([] { return CPerson::Window()->focusWidget()->accessibleName(); }), name);
    }
    CPerson::OnUi([] {
        const auto* body = CPerson::Window()->findChild<QWidget*>("CDisplayBody");
        EXPECT_GE(body->height(), 90);
        EXPECT_LE(body->mapTo(CPerson::Window(), QPoint(0, body->height())).y(), CPerson::Window()->height());
    });
}

}  // namespace
}  // namespace pastille::tests
