#include "preview/GridView.h"

#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <thread>

#include "preview/GridRows.h"
#include "preview/UPDialog.h"
#include "tests/app/Person.h"
#include "tests/preview/MadeStore.h"
#include "writer/ContactProperties.h"
#include "writer/NoteProperties.h"
#include "writer/OleDate.h"
#include "writer/TaskProperties.h"

namespace pastille::tests {
namespace {

using namespace std::chrono_literals;
using namespace writer;
using preview::CGridView;
using preview::CUPDialog;
using preview::GridFamily;
using std::chrono::steady_clock;

/// 1 March 2011, 14:05:09.042
constexpr double kReceived = 40603 + (14 * 3600 + 5 * 60 + 9.042) / 86400;

/// A grid in a window of its own.
class CShownGrid {
public:
    CShownGrid()
    {
        CPerson::OnUi([this] {
            m_window = std::make_unique<QWidget>();
            m_grid = new CGridView(m_window.get());
            m_grid->resize(600, 500);
            m_window->resize(600, 550);
            m_beside = new QCheckBox(m_window.get());
            m_beside->move(0, 510);
            m_window->show();
        });
    }
    ~CShownGrid() { Close(); }
    CShownGrid(const CShownGrid&) = delete;
    CShownGrid& operator=(const CShownGrid&) = delete;

    void Fill(GridFamily family, const std::shared_ptr<preview::CPreviewStore>& store,
              std::u16string_view path = u"\\Items")
    {
        CPerson::OnUi([&] { m_grid->Fill(family, store, CPreviewedStore::Key(path)); });
    }
    void BeginFill(GridFamily family, const std::shared_ptr<preview::CPreviewStore>& store)
    {
        m_isFilling = true;
        CPerson::BeginOnUi([this, family, store] {
            m_grid->Fill(family, store, CPreviewedStore::Key(u"\\Items"));
            m_isFilling = false;
        });
    }
    bool IsFilling() const { return m_isFilling; }
    void Close()
    {
        CPerson::OnUi([this] { m_window.reset(); });
    }
    /// Whether a click beside the grid reaches what is there.
    bool TakesInput()
    {
        return CPerson::OnUi([this] {
            m_beside->setChecked(false);
            QTest::mouseClick(m_window->windowHandle(), Qt::LeftButton, {}, m_beside->geometry().center());
            return m_beside->isChecked();
        });
    }

    /// A category of the grid: its caption, then "label=value" of each row.
    std::vector<QStringList> Categories() const
    {
        return CPerson::OnUi([this] {
            const QAbstractItemModel& model = *Tree().model();
            std::vector<QStringList> categories;
            for (int item = 0; item < model.rowCount(); ++item) {
                const QModelIndex category = model.index(item, 0);
                QStringList texts{category.data().toString()};
                for (int row = 0; row < model.rowCount(category); ++row) {
                    texts.append(model.index(row, 0, category).data().toString() + u'=' +
                                 model.index(row, 1, category).data().toString());
                }
                categories.push_back(texts);
            }
            return categories;
        });
    }
    QTreeView& Tree() const { return *m_grid->findChild<QTreeView*>(); }

private:
    std::unique_ptr<QWidget> m_window;
    CGridView* m_grid = nullptr;
    QCheckBox* m_beside = nullptr;
    std::atomic<bool> m_isFilling = false;
};

/// The store that holds a folder "Items", filled.
std::unique_ptr<CPreviewedStore> StoreOf(const std::function<void(IStoreFolder& folder)>& fill)
{
    return std::make_unique<CPreviewedStore>(
        [&](IStoreFolder& root) { fill(*AddFolder(root, u"Items", u"")); });
}

std::u16string NameOf(const ItemProperty& property)
{
    return {property.name.begin(), property.name.end()};
}

/// The value of a category's row; "(none)" when it has no such row.
QString ValueOf(const QStringList& category, const QString& label)
{
    for (const QString& row : category) {
        if (row.startsWith(label + u'='))
            return row.mid(label.size() + 1);
    }
    return QStringLiteral("(none)");
}

CUPDialog* ProgressDialog()
{
    return qobject_cast<CUPDialog*>(QApplication::activeModalWidget());
}

bool SeesProgress()
{
    return CPerson::WaitUntil([] {
        return ProgressDialog() != nullptr && !ProgressDialog()->testAttribute(Qt::WA_DontShowOnScreen);
    });
}

// What the rows show, in their order: a text, a date or a number as it is, by the name of a property the
// value that the test gives it.
struct FamilyCase {
    GridFamily family;
    const char16_t* messageClass;
    const char* caption;
    const char* rows;
};
const FamilyCase kFamilies[] = {
    {GridFamily::Contacts, u"IPM.Contact", "DisplayName",
     "Title=DisplayNamePrefix|First Name=GivenName|Middle Name=MiddleName|Last "
     "Name=Surname|Initials=Initials|"
     "Suffix=Generation|Flag Status=77|Company Name=CompanyName|Job Title=Title|Subject=Subject|"
     "On Behalf Name=SentRepresentingName|Email Protocol Type=SentRepresentingAddressType|"
     "Sender Name=SenderName|Sender Email Type=SenderAddressType|Conversation Topic=ConversationTopic|"
     "Sent from EmailAddress=SentRepresentingEmailAddress|Sender Email Address=SenderEmailAddress|"
     "Email Address=Email1EmailAddress|Emai2 Address=Email2EmailAddress|Email3 Address=Email3EmailAddress|"
     "Primary Telephone Number=PrimaryTelephoneNumber|Business Telephone Number=BusinessTelephoneNumber|"
     "Business2 Telephone Number=Business2TelephoneNumber|Home Telephone Number=HomeTelephoneNumber|"
     "Home2 Telephone Number=Home2TelephoneNumber|Callback Telephone Number=CallbackTelephoneNumber|"
     "Mobile Telephone Number=MobileTelephoneNumber|Radio Telephone Number=RadioTelephoneNumber|"
     "Car Telephone Number=CarTelephoneNumber|Telex Number=TelexNumber|Pager Number=PagerTelephoneNumber|"
     "Other Fax Number=PrimaryFaxNumber|Business Fax Number=BusinessFaxNumber|Home Fax Number=HomeFaxNumber|"
     "ISDN Number=IsdnNumber|Assistant Telephone Number=AssistantTelephoneNumber|"
     "TTYTDD Telephone Number=TtyTddPhoneNumber|Other Telephone Number=OtherTelephoneNumber|Content=Body|"
     "Categories=NamedText8012|Contact Account=Account|GovernmentID Number=GovernmentIdNumber|"
     "Language=Language|Office Location=OfficeLocation|Mailing Address=PostalAddress|"
     "Department=DepartmentName|Assistant Name=Assistant|Anniversary=2/29/2012|Birthday=5/4/1871|"
     "Hobby=Hobbies|Profession=Profession|Referred By=ReferredByName|Spouse=SpouseName|"
     "Computer Network Name=ComputerNetworkName|CustomerID=CustomerId|FTP Site=FtpSite|"
     "Manager Name=ManagerName|NickName=Nickname|Children=ChildrensNames|Home Address City=HomeAddressCity|"
     "Home Address Country=HomeAddressCountry|Home Address PostalCode=HomeAddressPostalCode|"
     "Home Address State=HomeAddressStateOrProvince|Home Address Street=HomeAddressStreet|"
     "Home Address PostOfficeBox=HomeAddressPostOfficeBox|Home Address=HomeAddress|"
     "Business Address City=Locality|Business Address Country=Country|"
     "Business Address Postal Code=PostalCode|Business Address State=StateOrProvince|"
     "Business Address Street=StreetAddress|Business Address Post Office Box=PostOfficeBox|"
     "Business Address=WorkAddress|Other Address City=OtherAddressCity|"
     "Other Address Country=OtherAddressCountry|Other Address PostalCode=OtherAddressPostalCode|"
     "Other Address State=OtherAddressStateOrProvince|Other Address Street=OtherAddressStreet|"
     "Other Address PostOfficeBox=OtherAddressPostOfficeBox|Other Address=OtherAddress|"
     "Internet FreeBusy Address=Text6849|IM Address=InstantMessagingAddress|"
     "Email1 DisplayName=Email1DisplayName|Email2 DisplayName=Email2DisplayName|"
     "Email3 DisplayName=Email3DisplayName|Billing Information=BillingInformation|Mileage=Mileage|"
     "Yomi FirstName=YomiFirstName|Yomi LastName=YomiLastName|Yomi CompanyName=YomiCompanyName|"
     "User1=ContactUserField1|User2=ContactUserField2"},
    {GridFamily::Tasks, u"IPM.Task", "Subject",
     "Categories=NamedText8012|Content=Body|On Behalf Name=SentRepresentingName|"
     "Email Protocol Type=SentRepresentingAddressType|Sent from EmailAddress=SentRepresentingEmailAddress|"
     "Sender Email Address=SenderEmailAddress|Conversation Topic=ConversationTopic|Start Date=3/1/2011|"
     "Due Date=12/31/1999|Received Time=14:5:9:42|Date Completed=10/9/2024|Sender Name=SenderName|"
     "Sender Email Type=SenderAddressType|Flag Request=FlagRequest|Billing Information=BillingInformation|"
     "Mileage=Mileage|Companies=Companies|Owner=TaskOwner|Schedule Plus Priority=Priority|Flag Status=77|"
     "Task Status=Task Waiting|Sensitivity=Confidential|Importance=High|Complete=TaskComplete|"
     "Reminder Set=ReminderSet|ReminderOverrideDefault Set=ReminderOverride|"
     "OriginatorDeliveryReportRequested Set=OriginatorDeliveryReportRequested|"
     "ReadReceiptRequested Set=ReadReceiptRequested|AlternateRecipientAllowed Set=AlternateRecipientAllowed|"
     "DeleteAfterSubmit Set=DeleteAfterSubmit|AutoForwarded Set=AutoForwarded"},
    {GridFamily::Calendar, u"IPM.Appointment", "Subject",
     "Content=Body|Location=Location|ReminderOverrideDefault Set=ReminderOverride|"
     "AlternateRecipientAllowed Set=AlternateRecipientAllowed|"
     "OriginatorDeliveryReportRequested Set=OriginatorDeliveryReportRequested|"
     "ReadReceiptRequested Set=ReadReceiptRequested|DeleteAfterSubmit Set=DeleteAfterSubmit|"
     "AutoForwarded Set=AutoForwarded|ResponseRequested Set=ResponseRequested|Reminder Set=ReminderSet|"
     "AllDayEvent Set=AllDayEvent|FlagStatus=77|Sensitivity=Confidential|Importance=High|"
     "On Behalf Name=SentRepresentingName|Email Protocol Type=SentRepresentingAddressType|"
     "Sender Name=SenderName|Sender Email Type=SenderAddressType|Conversation Topic=ConversationTopic|"
     "Sent from EmailAddress=SentRepresentingEmailAddress|Sender Email Address=SenderEmailAddress|"
     "Start Date=3/1/2011|End Date=10/9/2024|Received Time=14:5:9:42|Categories=NamedText8012|"
     "Flag Request=FlagRequest"},
    {GridFamily::Journals, u"IPM.Activity", "Subject",
     "Doc Posted=DocumentPosted|Doc Printed=DocumentPrinted|Doc Saved=DocumentSaved|"
     "Doc Routed=DocumentRouted|Reminder Set=ReminderSet|Read Receipt Requested=ReadReceiptRequested|"
     "Recipient Reassignment Prohibited=RecipientReassignmentProhibited|Flag Status=77|"
     "Sensitivity=Confidential|Categories=NamedText8012|Flag Request=FlagRequest|Content=Body|"
     "On Behalf Name=SentRepresentingName|Email Protocol Type=SentRepresentingAddressType|"
     "Sender Name=SenderName|Sender Email Type=SenderAddressType|Conversation Topic=ConversationTopic|"
     "Sent from EmailAddress=SentRepresentingEmailAddress|Sender Email Address=SenderEmailAddress|"
     "Start Date=3/1/2011|Received Time=14:5:9:42"},
    {GridFamily::Notes, u"IPM.StickyNote", "Subject",
     "OriginatorDeliveryReportRequested Set=OriginatorDeliveryReportRequested|ReminderSet Set=ReminderSet|"
     "ReadReceiptRequested Set=ReadReceiptRequested|"
     "RecipientReassignmentProhibited Set=RecipientReassignmentProhibited|"
     "AlternateRecipientAllowed Set=AlternateRecipientAllowed|DeleteAfterSubmit Set=DeleteAfterSubmit|"
     "AutoForwarded Set=AutoForwarded|ReminderOverrideDefault Set=ReminderOverride|Categories=NamedText8012|"
     "Content=Body|ConversationTopic=ConversationTopic|ReceivedTime=14:5:9:42|FlagStatus=77|Color=Yellow|"
     "Sensitivity=Confidential|Width=640|Height=-3"},
};

const std::map<std::string_view, double> kDates{
    {"WeddingAnniversary", 40968}, {"Birthday", -10467.5},      {"TaskStartDate", 40603.9},
    {"TaskDueDate", 36525},        {"DeliveryTime", kReceived}, {"TaskDateCompleted", 45574},
    {"Start", 40603.25},           {"End", 45574.999},          {"LogStart", 40603},
};
const std::map<std::string_view, std::int32_t> kNumbers{
    {"FlagStatus", 77}, {"Sensitivity", 3}, {"Importance", 2},  {"TaskStatus", 3},
    {"NoteColor", 3},   {"NoteWidth", 640}, {"NoteHeight", -3},
};

/// Gives each property of a family a value of its own, a text its name; flags stay clear.
void SetAll(IMessageItem& item, GridFamily family)
{
    item.SetText(property::Subject, NameOf(property::Subject));
    item.SetText(property::DisplayName, NameOf(property::DisplayName));
    for (const preview::GridRow& row : preview::GridTableOf(family).rows) {
        const ItemProperty& property = *row.property;
        if (property.kind == PropertyKind::Text)
            item.SetText(property, NameOf(property));
        else if (property.kind == PropertyKind::Date)
            item.SetDate(property, kDates.at(property.name));
        else if (property.kind == PropertyKind::Number)
            item.SetNumber(property, kNumbers.at(property.name));
    }
}

/// After the item that has everything else, an item for each flag that has only this one and its name.
void AddFlagItems(IStoreFolder& folder, const FamilyCase& given)
{
    for (const preview::GridRow& row : preview::GridTableOf(given.family).rows) {
        if (row.property->kind != PropertyKind::Flag)
            continue;
        AddItem(folder, given.messageClass, [&](IMessageItem& item) {
            item.SetText(property::Subject, NameOf(*row.property));
            item.SetFlag(*row.property, 1);
        });
    }
}

/// The first category's rows, those of flags with the names of the items that say "Yes" in them.
QStringList Rows(const std::vector<QStringList>& categories)
{
    QStringList rows = categories.front().mid(1);
    for (QString& row : rows) {
        if (!row.endsWith(QStringLiteral("=No")))
            continue;
        row.chop(2);
        for (const QStringList& category : categories) {
            if (category.contains(row + QStringLiteral("Yes")))
                row += category.front();
        }
    }
    return rows;
}

TEST(GridTest, EachRowShowsItsProperty)
{
    CShownGrid grid;
    for (const FamilyCase& given : kFamilies) {
        SCOPED_TRACE(preview::GridTableOf(given.family).rows.size());
        const auto store = StoreOf([&](IStoreFolder& folder) {
            AddItem(folder, given.messageClass, [&](IMessageItem& item) { SetAll(item, given.family); });
            AddFlagItems(folder, given);
        });
        grid.Fill(given.family, store->Open());
        const auto categories = grid.Categories();
        ASSERT_FALSE(categories.empty());
        EXPECT_EQ(categories[0][0], QString::fromLatin1(given.caption));
        EXPECT_EQ(Rows(categories), QString::fromLatin1(given.rows).split(u'|'));
    }
}

TEST(GridTest, NumbersWithNamesAreEmptyBeyondThem)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        for (std::int32_t number = -1; number <= 5; ++number) {
            AddItem(folder, u"IPM.Task", [&](IMessageItem& item) {
                for (const ItemProperty* property : {&property::Sensitivity, &property::Importance,
                                                     &property::TaskStatus, &property::NoteColor})
                    item.SetNumber(*property, number);
            });
        }
    });
    CShownGrid grid;
    const auto values = [&](GridFamily family, const char* label) {
        grid.Fill(family, store->Open());
        QStringList shown;
        for (const QStringList& category : grid.Categories())
            shown.append(ValueOf(category, QString::fromLatin1(label)));
        return shown.join(u'|');
    };
    EXPECT_EQ(values(GridFamily::Tasks, "Sensitivity"),
              QStringLiteral("|Normal|Personal|Private|Confidential||"));
    EXPECT_EQ(values(GridFamily::Tasks, "Importance"), QStringLiteral("||Normal|High|||"));
    EXPECT_EQ(values(GridFamily::Tasks, "Task Status"),
              QStringLiteral("|Task Not Started|Task In Progress|Task Complete|Task Waiting|Task Deferred|"));
    EXPECT_EQ(values(GridFamily::Notes, "Color"), QStringLiteral("|Blue|Green|Pink|Yellow|White|"));
}

TEST(GridTest, WhatAnItemLacksIsEmpty)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        AddItem(folder, u"IPM.Contact", [](IMessageItem& item) {
            item.SetText(property::Subject, u"Only a subject");
            item.SetDate(property::Birthday, kNoDate);
        });
        AddItem(folder, u"IPM.Contact", [](IMessageItem&) {});
        AddItem(folder, u"IPM.Contact", [](IMessageItem& item) {
            item.SetText(property::DisplayName, u"Ann\r\nAbel\u202E");
            item.SetDate(property::DeliveryTime, kReceived);
        });
    });
    CShownGrid grid;
    grid.Fill(GridFamily::Contacts, store->Open());
    auto categories = grid.Categories();
    ASSERT_EQ(categories.size(), 3u);
    EXPECT_EQ(categories[0][0], QStringLiteral("Only a subject"));
    EXPECT_EQ(categories[1][0], QStringLiteral("UnKnown"));
    EXPECT_EQ(categories[2][0], QStringLiteral("Ann  Abel\uFFFD"));
    for (const char* label : {"Birthday", "Anniversary", "Content", "Title"})
        EXPECT_EQ(ValueOf(categories[0], QString::fromLatin1(label)), QString()) << label;

    // The row of the received time is there only with a time; those after it keep their values.
    grid.Fill(GridFamily::Notes, store->Open());
    categories = grid.Categories();
    EXPECT_EQ(ValueOf(categories[0], QStringLiteral("ReceivedTime")), QStringLiteral("(none)"));
    EXPECT_EQ(categories[0].size(), 1 + 16);
    EXPECT_EQ(ValueOf(categories[0], QStringLiteral("Color")), QStringLiteral("Blue"));
    EXPECT_EQ(ValueOf(categories[0], QStringLiteral("Height")), QStringLiteral("0"));
    EXPECT_EQ(categories[2].size(), 1 + 17);

    grid.Fill(GridFamily::Notes, store->Open(), u"\\No such folder");
    EXPECT_TRUE(grid.Categories().empty());
}

/// Sees what progress dialogs show while they are up or about to be.
class CProgressWatch final : public QObject {
public:
    CProgressWatch()
    {
        moveToThread(qApp->thread());
        CPerson::OnUi([this] { qApp->installEventFilter(this); });
    }
    ~CProgressWatch() override
    {
        CPerson::OnUi([this] { qApp->removeEventFilter(this); });
    }
    bool eventFilter(QObject* object, QEvent* event) override
    {
        auto* dialog = qobject_cast<CUPDialog*>(object);
        if (dialog == nullptr || event->type() != QEvent::Show || !captions.isEmpty())
            return false;
        captions.append(dialog->windowTitle());
        auto* bar = dialog->findChild<QProgressBar*>();
        connect(bar, &QProgressBar::valueChanged, this, [this, dialog](int value) {
            values.append(value);
            for (const QLabel* label : dialog->findChildren<QLabel*>())
                texts.append(label->text());
        });
        return false;
    }

    QStringList captions, texts;
    QList<int> values;
};

TEST(GridTest, TwoHundredNotesReachAHundredPercent)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        for (int number = 0; number < 200; ++number) {
            AddItem(folder, u"IPM.StickyNote", [&](IMessageItem& item) {
                item.SetText(property::Subject,
                             u"Note " + std::u16string(1, static_cast<char16_t>(0x4E00 + number)));
                item.SetDate(property::DeliveryTime, kReceived);
            });
        }
    });
    CShownGrid grid;
    CProgressWatch watch;
    grid.Fill(GridFamily::Notes, store->Open());
    const auto categories = grid.Categories();
    ASSERT_EQ(categories.size(), 200u);
    for (std::size_t number = 0; number < categories.size(); ++number) {
        EXPECT_EQ(categories[number].size(), 1 + 17);
        EXPECT_EQ(categories[number][0].back().unicode(), 0x4E00 + number);
    }
    EXPECT_TRUE(CPerson::OnUi([&] { return grid.Tree().isExpanded(grid.Tree().model()->index(199, 0)); }));
    EXPECT_EQ(watch.captions, QStringList(QStringLiteral("Updating Notes")));
    EXPECT_TRUE(watch.texts.contains(QStringLiteral("Loading...")));
    EXPECT_TRUE(watch.texts.contains(QStringLiteral("50%")));
    EXPECT_EQ(watch.texts.back(), QStringLiteral("100%"));
    EXPECT_EQ(watch.values.back(), 100);
    EXPECT_TRUE(std::is_sorted(watch.values.begin(), watch.values.end()));
}

TEST(GridTest, ValuesAreCopiedAndOpenedByKeyboard)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        AddItem(folder, u"IPM.StickyNote", [](IMessageItem& item) {
            item.SetText(property::Body, u"<b>first</b>\nsecond" + std::u16string(100'000, u'x'));
        });
    });
    CShownGrid grid;
    grid.Fill(GridFamily::Notes, store->Open());
    CPerson::OnUi([&] {
        QTreeView& tree = grid.Tree();
        tree.setFocus();
        const QModelIndex category = tree.model()->index(0, 0);
        const QModelIndex content = tree.model()->index(9, 0, category);
        ASSERT_EQ(content.data().toString(), QStringLiteral("Content"));
        tree.setCurrentIndex(content.siblingAtRow(8));
        QTest::keyClick(&tree, Qt::Key_Down);
        QTest::keyClick(&tree, Qt::Key_C, Qt::ControlModifier);
        const QString copied = qApp->clipboard()->text();
        EXPECT_TRUE(copied.startsWith(QStringLiteral("<b>first</b>\nsecond")));
        EXPECT_EQ(copied.size(), 32'769);
        EXPECT_TRUE(content.siblingAtColumn(1)
                        .data(Qt::ToolTipRole)
                        .toString()
                        .contains(QStringLiteral("&lt;b&gt;first")));

        QTest::keyClick(&tree, Qt::Key_Return);
        const auto* box = tree.findChild<QPlainTextEdit*>();
        ASSERT_NE(box, nullptr);
        EXPECT_TRUE(box->isReadOnly());
        EXPECT_EQ(box->toPlainText(), copied);
    });
}

/// A store of notes whose reads can be slowed down, held up and made to fail.
class CHinderedStore {
public:
    explicit CHinderedStore(int notes)
        : m_made(StoreOf([&](IStoreFolder& folder) {
              for (int number = 0; number < notes; ++number) {
                  AddItem(folder, u"IPM.StickyNote",
                          [](IMessageItem& item) { item.SetText(property::Subject, u"Note"); });
              }
          })),
          m_component(m_files, m_made->Path().parent_path() / "profiles")
    {
        m_files.faults.onSourceRead = [this](std::uint64_t) { OnRead(); };
    }
    std::shared_ptr<preview::CPreviewStore> Open()
    {
        m_files.faults.shrinksTo.reset();
        auto store = std::make_shared<preview::CPreviewStore>(m_component, m_made->Path(), "windows-1252");
        preview::CPreviewStore::CUse use(*store);
        use.Add(use.Root()->GetFolders()->GetFolder(std::u16string(u"Items")), u"\\Items");
        return store;
    }

    std::atomic<std::chrono::milliseconds> delay = 0ms;  ///< of each read
    std::atomic<bool> isHeldUp = false;
    std::atomic<int> readsToFailure = -1;

private:
    void OnRead()
    {
        std::this_thread::sleep_for(delay.load());
        while (isHeldUp)
            std::this_thread::sleep_for(1ms);
        if (readsToFailure == 0)
            m_files.faults.shrinksTo = 0;
        else if (readsToFailure > 0)
            --readsToFailure;
    }

    std::unique_ptr<CPreviewedStore> m_made;
    CFaultyFileSystem m_files;
    component::CBuiltInComponent m_component;
};

TEST(GridTest, UnreadableItemsHaveNoValues)
{
    CHinderedStore hindered(3);
    CShownGrid grid;
    bool sawBoth = false;
    for (int reads = 0; !::testing::Test::HasFailure(); ++reads) {
        const auto store = hindered.Open();
        hindered.readsToFailure = reads;
        grid.Fill(GridFamily::Notes, store);
        const bool isAllRead = hindered.readsToFailure > 0;
        hindered.readsToFailure = -1;
        const auto categories = grid.Categories();
        EXPECT_TRUE(categories.empty() || categories.size() == 3) << reads;
        std::size_t unknown = 0;
        for (const QStringList& category : categories) {
            if (category[0] != QStringLiteral("UnKnown"))
                continue;
            ++unknown;
            EXPECT_EQ(category.size(), 1 + 16);
            EXPECT_EQ(ValueOf(category, QStringLiteral("Color")), QString()) << reads;
        }
        sawBoth = sawBoth || (unknown > 0 && unknown < categories.size());
        if (isAllRead) {
            EXPECT_EQ(unknown, 0u);
            break;
        }
    }
    EXPECT_TRUE(sawBoth);
}

TEST(GridTest, CancelEndsWithinASecond)
{
    CHinderedStore hindered(2000);
    CShownGrid grid;
    const auto store = hindered.Open();
    hindered.delay = 10ms;
    const auto begin = steady_clock::now();
    grid.BeginFill(GridFamily::Notes, store);
    ASSERT_TRUE(SeesProgress());
    EXPECT_GE(steady_clock::now() - begin, 300ms);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return grid.Tree().model()->rowCount() > 0; }));
    EXPECT_TRUE(grid.IsFilling());
    const auto cancelled = steady_clock::now();
    CPerson().Clicks(QStringLiteral("&Cancel"));
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !grid.IsFilling(); }));
    EXPECT_LT(steady_clock::now() - cancelled, 1s);
    const auto loaded = grid.Categories().size();
    EXPECT_GT(loaded, 0u);
    EXPECT_LT(loaded, 2000u);
}

TEST(GridTest, CancelLeavesALoaderThatHangs)
{
    CHinderedStore hindered(5);
    auto grid = std::make_unique<CShownGrid>();
    auto store = hindered.Open();
    const std::weak_ptr<preview::CPreviewStore> held = store;
    hindered.isHeldUp = true;
    EXPECT_TRUE(grid->TakesInput());
    grid->BeginFill(GridFamily::Notes, store);
    store.reset();
    CPerson::Settle();
    EXPECT_FALSE(grid->TakesInput());
    ASSERT_TRUE(SeesProgress());
    const auto cancelled = steady_clock::now();
    CPerson::OnUi([] { QTest::keyClick(ProgressDialog(), Qt::Key_Escape); });
    CPerson().Sees(QStringLiteral("Closing..."));
    EXPECT_FALSE(CPerson().CanClick(QStringLiteral("&Cancel")));
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !grid->IsFilling(); }));
    EXPECT_GE(steady_clock::now() - cancelled, 900ms);
    EXPECT_LT(steady_clock::now() - cancelled, 1500ms);
    EXPECT_TRUE(grid->TakesInput());
    // Neither the pane nor the dialog is there any more when the loader goes on.
    grid.reset();
    EXPECT_FALSE(held.expired());
    hindered.isHeldUp = false;
    EXPECT_TRUE(CPerson::WaitUntil([&] { return held.expired(); }));
}

TEST(GridTest, ThePaneCanGoWhileItIsFilled)
{
    CHinderedStore hindered(500);
    CShownGrid grid;
    const auto store = hindered.Open();
    hindered.delay = 10ms;
    grid.BeginFill(GridFamily::Notes, store);
    ASSERT_TRUE(SeesProgress());
    grid.Close();
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !grid.IsFilling(); }, 1s));
}

TEST(GridTest, AJobsResultIsTheDialogs)
{
    const auto run = [](bool isCancellable, CUPDialog::Job job) {
        return CPerson::OnUi([&] {
            const auto dialog =
                std::make_unique<CUPDialog>(nullptr, QString(300, u'c'), isCancellable, std::move(job));
            EXPECT_EQ(dialog->windowTitle().size(), 255);
            return dialog->Run();
        });
    };
    EXPECT_EQ(run(true, [](preview::CUPJob&) { return true; }), 1);
    EXPECT_EQ(run(true, [](preview::CUPJob&) { return false; }), 2);
    EXPECT_EQ(run(true, [](preview::CUPJob&) -> bool { throw std::bad_alloc(); }), 2);
    const auto cancel = [](preview::CUPJob& job) {
        job.Post([](CUPDialog& dialog) { dialog.close(); });
        for (int wait = 0; wait < 100 && !job.IsCancelled(); ++wait)
            std::this_thread::sleep_for(5ms);
        return true;
    };
    EXPECT_EQ(run(true, cancel), 65538);
    EXPECT_EQ(run(false, cancel), 1);
    EXPECT_EQ(run(true,
                  [&](preview::CUPJob& job) {
                      job.Post([](CUPDialog& dialog) { dialog.DisableCancel(); });
                      return cancel(job);
                  }),
              1);
    EXPECT_EQ(run(true,
                  [](preview::CUPJob& job) {
                      job.Post([](CUPDialog& dialog) { dialog.End(7); });
                      return true;
                  }),
              7);
}

}  // namespace
}  // namespace pastille::tests
