#include <QLineEdit>
#include <QTableView>
#include <QTest>
#include <QTreeWidget>

#include "tests/app/Camera.h"
#include "tests/preview/MadeStore.h"
#include "tests/preview/Panes.h"
#include "writer/AppointmentProperties.h"
#include "writer/ContactProperties.h"
#include "writer/JournalProperties.h"
#include "writer/NoteProperties.h"
#include "writer/OleDate.h"
#include "writer/TaskProperties.h"

namespace pastille::tests {
namespace {

using writer::IMessageItem;
using writer::IStoreFolder;
using writer::ItemProperty;
namespace property = writer::property;

constexpr double kFirstDay = 44'256.4;  // in March 2021

struct Value {
    const ItemProperty* property;
    std::u16string_view text;
};

void AddFilled(IStoreFolder& folder, std::u16string_view messageClass, const std::vector<Value>& texts,
               const std::function<void(IMessageItem&)>& fill = {})
{
    AddItem(folder, messageClass, [&](IMessageItem& item) {
        item.SetDate(property::DeliveryTime, kFirstDay);
        for (const Value& value : texts)
            item.SetText(*value.property, value.text);
        if (fill)
            fill(item);
    });
}

void AddMails(IStoreFolder& root)
{
    const auto inbox = AddFolder(root, u"Inbox", u"IPF.Note");
    constexpr std::pair<std::u16string_view, std::u16string_view> kMails[] = {
        {u"Ada Brook", u"Minutes of the garden club"},
        {u"Jonas Kern", u"Rechnung f\u00fcr den Zaun"},
        {u"In\u00e8s Jardim", u"R\u00e9union de mardi"},
        {u"Hugo Iversen", u"Bridge survey, first results"},
        {u"Farid Gul", u"Offer for the scaffolding"}};
    double day = kFirstDay;
    for (const auto& [from, subject] : kMails) {
        AddFilled(
            *inbox, u"IPM.Note",
            {{&property::SentRepresentingName, from},
             {&property::DisplayTo, u"Noor Osman"},
             {&property::Subject, subject},
             {&property::Body, u"Dear all,\r\n\r\nplease find the minutes below. 2 < 3 & 4 > 3.\r\n\r\nAda"}},
            [&](IMessageItem& item) { item.SetDate(property::DeliveryTime, day += 1.1); });
    }
    AddFilled(
        *inbox, u"IPM.Note",
        {{&property::SentRepresentingName, u"Garden Club"},
         {&property::DisplayTo, u"Noor Osman"},
         {&property::Subject, u"Summer fair"},
         {&property::HtmlBody,
          u"<html><body style='font-family:sans-serif'><h2 style='color:#2a6f3c'>Summer fair</h2><p>On the "
          u"<b>village "
          u"green</b>, <i>26 June</i>, from nine to five.</p><table border=1 cellpadding=5 "
          u"cellspacing=0><tr><th>What<th>Who"
          u"<tr><td>Tent<td>Ada<tr><td>Bunting<td>Noor</table><p><img src='http://example.org/logo.png' "
          u"alt='(a picture on the web, which is not fetched)'></p></body></html>"}});
    AddFolder(root, u"Drafts", u"IPF.Note");
    AddFolder(*AddFolder(root, u"Projects", u"IPF.Note"), u"Old bridge", u"IPF.Note");
    AddFolder(root, u"Lost & Found", u"");
    AddFolder(root, u"Orphaned Mails", u"");
}

void AddOthers(IStoreFolder& root)
{
    AddFilled(*AddFolder(root, u"Contacts", u"IPF.Contact"), u"IPM.Contact",
              {{&property::Subject, u"Ada Brook"},
               {&property::DisplayName, u"Ada Brook"},
               {&property::GivenName, u"Ada"},
               {&property::Surname, u"Brook"},
               {&property::CompanyName, u"Garden Club"},
               {&property::Title, u"Chair"},
               {&property::Email1EmailAddress, u"ada.brook@example.org"},
               {&property::MobileTelephoneNumber, u"+99 555 0100"}});
    AddFilled(*AddFolder(root, u"Calendar", u"IPF.Appointment"), u"IPM.Appointment",
              {{&property::Subject, u"Summer fair"},
               {&property::Location, u"Village green"},
               {&property::Body, u"Bring the tent."}},
              [](IMessageItem& item) {
                  item.SetDate(property::Start, kFirstDay + 112);
                  item.SetDate(property::End, kFirstDay + 112.3);
                  item.SetNumber(property::Importance, 2);
              });
    AddFilled(*AddFolder(root, u"Tasks", u"IPF.Task"), u"IPM.Task",
              {{&property::Subject, u"Order tulip bulbs"}, {&property::TaskOwner, u"Noor Osman"}},
              [](IMessageItem& item) {
                  item.SetNumber(property::TaskStatus, 1);
                  item.SetDate(property::TaskDueDate, kFirstDay + 30);
              });
    AddFilled(*AddFolder(root, u"Notes", u"IPF.StickyNote"), u"IPM.StickyNote",
              {{&property::Subject, u"Key to the shed"}, {&property::Body, u"Under the water butt."}},
              [](IMessageItem& item) {
                  item.SetNumber(property::NoteColor, 3);
                  item.SetNumber(property::NoteWidth, 200);
                  item.SetNumber(property::NoteHeight, 166);
              });
    AddFilled(*AddFolder(root, u"Journals", u"IPF.Journal"), u"IPM.Activity",
              {{&property::Subject, u"Call with Farid Gul"}, {&property::LogType, u"Phone call"}},
              [](IMessageItem& item) { item.SetDate(property::LogStart, kFirstDay); });
}

}  // namespace

void TakePreview(CDesktop&, CPerson& person, CCamera& camera)
{
    const CPreviewedStore store([](IStoreFolder& root) {
        AddMails(root);
        AddOthers(root);
    });
    person.Presses(Qt::Key_O, Qt::ControlModifier);
    person.ChoosesInFileDialog(Shown(store.Path()));
    CPerson::WaitUntil([] { return FolderTree()->cursor().shape() != Qt::BusyCursor; });
    for (const auto& [node, name] : {std::pair("Contacts(1)", "preview-contacts"),
                                     {"Calendar(1)", "preview-calendar"},
                                     {"Tasks(1)", "preview-tasks"},
                                     {"Notes(1)", "preview-notes"},
                                     {"Journals(1)", "preview-journals"}}) {
        ClicksNode(node);
        GridCategories();
        camera.Takes(name);
    }
    ClicksNode("Inbox(6)");
    ItemRows();
    CPerson::OnUi([] { QTest::keyClick(ItemTable(), Qt::Key_Home); });
    BodyShows("2 < 3");
    camera.Takes("preview-mail-plain");
    CPerson::OnUi([] { QTest::keyClick(ItemTable(), Qt::Key_End); });
    BodyShows("village green");
    camera.Takes("preview-mail-html");
    CPerson::OnUi([] {
        ItemTable()->sortByColumn(0, Qt::AscendingOrder);
        CPerson::Window()->findChild<QLineEdit*>()->setText("in");
    });
    camera.Takes("preview-find");
}

}  // namespace pastille::tests
