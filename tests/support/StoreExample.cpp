#include "tests/support/StoreExample.h"

#include "format/PropertyIds.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;
namespace propset = format::propset;

struct ExampleMail {
    std::u16string_view subject, sender, body;
};

constexpr ExampleMail kInboxMails[] = {
    {u"Minutes of the garden club", u"Ada Brook",
     u"Dear all,\r\n\r\nplease find the minutes below. We agreed on the new fence, on the order of tulip "
     u"bulbs,\r\n"
     u"and on the summer fair at the end of June.\r\n\r\nAda"},
    {u"Rechnung für den Zaun", u"Jonas Kern",
     u"Guten Tag,\r\n\r\ndie Rechnung über 1.240 € für den neuen Zaun ist unterwegs. Bitte prüfen Sie die "
     u"Maße.\r\n\r\n"
     u"Viele Grüße\r\nJonas Kern"},
    {u"Réunion de mardi", u"Inès Jardim",
     u"Bonjour,\r\n\r\nla réunion de mardi est déplacée à 15 h, dans la salle près de la fenêtre.\r\n\r\nÀ "
     u"bientôt,\r\nInès"},
    {u"Reserva confirmada", u"Lucía Moreno",
     u"Hola:\r\n\r\nsu reserva para el 3 de mayo está confirmada. ¿Necesitan una mesa más grande?\r\n\r\nUn "
     u"saludo"},
    {u"Ricetta della nonna", u"Dario Esposito",
     u"Ciao,\r\n\r\necco la ricetta: farina, uova, un po' di sale e tanta pazienza. È più facile di quanto "
     u"sembri.\r\n"},
    {u"Vergadering verplaatst", u"Maud Nilsson",
     u"Hallo,\r\n\r\nde vergadering van donderdag is één week verplaatst. Graag even "
     u"bevestigen.\r\n\r\nGroet, Maud"},
    {u"Zaproszenie na wystawę", u"Zofia Wójcik",
     u"Dzień dobry,\r\n\r\nzapraszam na wystawę fotografii w sobotę o siedemnastej. Wstęp wolny, będzie też "
     u"gorąca\r\n"
     u"herbata i źródlana woda.\r\n\r\nZofia"},
    {u"Båtplats till sommaren", u"Elin Falk",
     u"Hej!\r\n\r\nVi har en ledig båtplats från första juni. Hör av er om ni är intresserade.\r\n\r\nElin"},
    {u"Πρόγραμμα εκδρομής", u"Νίκος Δήμου",
     u"Καλημέρα σας,\r\n\r\nη εκδρομή ξεκινά στις οκτώ το πρωί από το λιμάνι. Μην ξεχάσετε καπέλο και "
     u"νερό.\r\n"},
    {u"Расписание поездов", u"Вера Соколова",
     u"Добрый день!\r\n\r\nПосылаю новое расписание поездов. Последний поезд уходит в 22:40.\r\n\r\nВера"},
    {u"会議の日程について", u"森 春香",
     u"お世話になっております。\r\n\r\n来週の会議は水曜日の午後二時からです。資料は前日までにお送りします。\r"
     u"\n\r\n森"},
    {u"תזכורת: שיעור שחייה", u"נועה לוי",
     u"שלום,\r\n\r\nשיעור השחייה ביום ראשון יתחיל בשעה ארבע.\r\n\r\nנועה"},
};

constexpr ExampleMail kProjectMails[] = {
    {u"Bridge survey, first results", u"Hugo Iversen",
     u"The first measurements are in. Pier two has moved by four millimetres since the last survey, which is "
     u"within\r\n"
     u"the limits. The drawings follow next week."},
    {u"RE: Bridge survey, first results", u"Katja Lind",
     u"Thank you, Hugo. Could you add the temperatures of both days? The steel is sensitive to them."},
    {u"RE: Bridge survey, first results", u"Hugo Iversen",
     u"Here they are: 4.5 °C on Monday, 11 °C on Thursday."},
    {u"Offer for the scaffolding", u"Farid Gul",
     u"Please find our offer: 18 days, two levels, 3,480 in total. It is valid until the end of the month."},
    {u"Working hours in August", u"Greta Hansen",
     u"The yard is closed from the 3rd to the 21st. Deliveries go to the gate keeper in that time."},
    {u"Angebot Gerüst, zweite Fassung", u"Farid Gul",
     u"Anbei die zweite Fassung mit drei Ebenen. Der Preis erhöht sich um 12 %, die Dauer bleibt gleich."},
};

constexpr ExampleMail kSentMails[] = {
    {u"Where is the key to the shed?", u"Noor Osman",
     u"I looked behind the water butt and under the pot, but found only snails. Who has it?"},
    {u"RE: Réunion de mardi", u"Noor Osman", u"C'est noté, merci. J'apporte les gâteaux."},
    {u"Thank you", u"Noor Osman",
     u"It was a lovely evening. The recipe went straight onto the kitchen wall."},
    {u"Photos of the fair", u"Noor Osman",
     u"The photos are on the club's page now. The one with the goat is my favourite."},
};

/// Mails of a folder, one a day from `firstDay` of March 2021 on, made long enough to differ in size.
template <std::size_t Count>
void AddMails(StoreFolder& folder, const ExampleMail (&mails)[Count], unsigned firstDay)
{
    for (std::size_t i = 0; i < Count; ++i) {
        std::u16string body(mails[i].body);
        while (i % 3 == 2 && body.size() + mails[i].body.size() < 1600)
            body += u"\r\n> " + std::u16string(mails[i].body);
        const auto day = firstDay + static_cast<unsigned>(i);
        folder.messages.push_back(Mail(mails[i].subject, mails[i].sender, body,
                                       FileTime(2021, 3, day, 8 + static_cast<unsigned>(i), 15)));
    }
}

StoreMessage Contact(std::u16string_view given, std::u16string_view surname, std::u16string_view company)
{
    const std::u16string full = std::u16string(given) + u" " + std::u16string(surname);
    const std::u16string address = std::u16string(given) + u"." + std::u16string(surname) + u"@example.org";
    StoreMessage contact;
    contact.label = "contact";
    contact.messageClass = u"IPM.Contact";
    contact.properties = {Text(pid::kSubject, full),     Text(pid::kDisplayName, full),
                          Text(0x3A06, given),           Text(0x3A11, surname),
                          Text(0x3A16, company),         Text(0x3A08, u"+99 555 0100"),
                          Number(pid::kIconIndex, 0x200)};
    contact.named = {{{propset::kAddress, 0x8005}, Text(0, full)},
                     {{propset::kAddress, 0x8080}, Text(0, full)},
                     {{propset::kAddress, 0x8082}, Text(0, u"SMTP")},
                     {{propset::kAddress, 0x8083}, Text(0, address)}};
    return contact;
}

StoreMessage Appointment()
{
    StoreMessage appointment;
    appointment.label = "appointment";
    appointment.messageClass = u"IPM.Appointment";
    appointment.properties = {Text(pid::kSubject, u"Summer fair"),
                              Text(pid::kBody, u"Bring the tent, the long table and the bunting."),
                              Number(pid::kIconIndex, 0x400)};
    appointment.named = {{{propset::kAppointment, 0x8205}, Number(0, 2)},
                         {{propset::kAppointment, 0x8208}, Text(0, u"Village green")},
                         {{propset::kAppointment, 0x820D}, Time(0, FileTime(2021, 6, 26, 9))},
                         {{propset::kAppointment, 0x820E}, Time(0, FileTime(2021, 6, 26, 17))},
                         {{propset::kAppointment, 0x8213}, Number(0, 480)},
                         {{propset::kAppointment, 0x8215}, Flag(0, false)}};
    return appointment;
}

}  // namespace

StoreDescription DescribeExample()
{
    StoreDescription store;
    store.displayName = u"Example";
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    AddMails(inbox, kInboxMails, 1);
    StoreFolder projects{.name = u"Projects", .containerClass = u"IPF.Note"};
    StoreFolder bridge{.name = u"Old bridge", .containerClass = u"IPF.Note"};
    AddMails(bridge, kProjectMails, 15);
    projects.folders.push_back(std::move(bridge));
    StoreFolder sent{.name = u"Sent Items", .containerClass = u"IPF.Note"};
    AddMails(sent, kSentMails, 22);
    StoreFolder contacts{.name = u"Contacts", .containerClass = u"IPF.Contact"};
    contacts.messages = {Contact(u"Ada", u"Brook", u"Garden Club"),
                         Contact(u"Hugo", u"Iversen", u"Iversen Surveys")};
    StoreFolder calendar{.name = u"Calendar", .containerClass = u"IPF.Appointment"};
    calendar.messages = {Appointment()};
    store.folders = {std::move(inbox), std::move(projects), std::move(sent), std::move(contacts),
                     std::move(calendar)};
    return store;
}

CBuiltStore BuildDamagedExample()
{
    CBuiltStore store(DescribeExample());
    store.Damage().ZeroRoot().Drop(PlaceKind::NbtIndex).Drop(PlaceKind::BbtLeaf, 1);
    return store;
}

}  // namespace pastille::tests
