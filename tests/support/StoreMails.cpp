#include "tests/support/StoreMails.h"

#include <algorithm>
#include <iterator>

#include "format/PropertyIds.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;

constexpr std::u16string_view kWords[] = {
    u"the",    u"harbour", u"report",  u"and",   u"of",     u"to",     u"meeting", u"for",
    u"garden", u"on",      u"Tuesday", u"with",  u"budget", u"we",     u"need",    u"after",
    u"train",  u"into",    u"letter",  u"room",  u"plan",   u"before", u"winter",  u"sailing",
    u"recipe", u"notes",   u"draft",   u"about", u"visit",  u"bridge", u"Übung",   u"café",
    u"is",     u"was",     u"soon",    u"offer", u"copper", u"field",  u"answer",  u"again"};
constexpr std::u16string_view kPeople[] = {u"Ada Brook",    u"Ben Carver", u"Clara Dunn",   u"Dario Esposito",
                                           u"Elin Falk",    u"Farid Gul",  u"Greta Hansen", u"Hugo Iversen",
                                           u"Ines Jardim",  u"Jonas Kern", u"Katja Lind",   u"Luca Moretti",
                                           u"Maud Nilsson", u"Noor Osman"};
constexpr std::u16string_view kFolderNames[] = {u"Inbox",     u"Sent Items", u"Projects",
                                                u"Suppliers", u"Club",       u"Family"};

/// A generator of our own: standard distributions give other numbers on other platforms.
class CRandom {
public:
    explicit CRandom(std::uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15u + 0x1234567) {}
    std::uint32_t Below(std::size_t bound)
    {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<std::uint32_t>((m_state >> 33) % bound);
    }

private:
    std::uint64_t m_state;
};

std::u16string Words(CRandom& random, std::size_t characters)
{
    std::u16string text;
    while (text.size() < characters) {
        text += kWords[random.Below(std::size(kWords))];
        text += random.Below(14) == 0 ? u".\r\n" : u" ";
    }
    return text;
}

std::u16string Decimal(std::uint64_t number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

std::uint64_t StreamOf(std::uint32_t seed, std::uint64_t number)
{
    return (std::uint64_t{seed} << 40) + number;
}

constexpr std::uint64_t kMinute = 600'000'000;  // 100 ns

StoreMessage OrdinaryMail(CRandom& random, std::uint64_t number)
{
    const std::u16string subject = Words(random, 12 + random.Below(30)) + Decimal(number);
    const std::u16string_view sender = kPeople[random.Below(std::size(kPeople))];
    const std::uint64_t sent = FileTime(2012, 3, 1) + number * 7 * kMinute;
    StoreMessage mail = Mail(subject, sender, Words(random, 1000 + random.Below(1500)), sent);
    mail.flags = random.Below(5) == 0 ? 0 : 1;
    mail.recipients = {{std::u16string(kPeople[random.Below(std::size(kPeople))]), u"team@example.org", 1}};
    mail.properties.push_back(Text(0x1035, u"<" + Decimal(number) + u".mail@example.org>"));
    return mail;
}

StoreMessage OrdinaryContact(CRandom& random, std::uint64_t number)
{
    const std::u16string name =
        std::u16string(kPeople[random.Below(std::size(kPeople))]) + u" " + Decimal(number);
    StoreMessage contact{.messageClass = u"IPM.Contact"};
    contact.properties = {Text(pid::kSubject, name), Text(pid::kDisplayName, name),
                          Text(pid::kBody, Words(random, 100 + random.Below(400)))};
    // Names, numbers and addresses. [MS-OXOCNTC] 2.2.1
    for (const int id : {0x3A06, 0x3A08, 0x3A09, 0x3A11, 0x3A16, 0x3A17, 0x3A18, 0x3A1C, 0x3A26, 0x3A27,
                         0x3A29, 0x3A2A, 0x3A44, 0x3A4F, 0x3A51, 0x3A59, 0x3A5D})
        contact.properties.push_back(
            Text(static_cast<std::uint16_t>(id), Words(random, 8 + random.Below(20))));
    contact.properties.push_back(Time(0x3A42, FileTime(1960, 1, 1) + number % 20'000 * 1440 * kMinute));
    for (const std::uint32_t lid : {0x8005u, 0x801Bu, 0x8062u, 0x8080u, 0x8082u, 0x8083u})
        contact.named.push_back({{format::propset::kAddress, lid, {}}, Text(0, Words(random, 15))});
    return contact;
}

StoreMessage OrdinaryAppointment(CRandom& random, std::uint64_t number)
{
    const std::uint64_t start = FileTime(2012, 3, 1) + number * 90 * kMinute;
    StoreMessage appointment{.messageClass = u"IPM.Appointment"};
    appointment.properties = {Text(pid::kSubject, Words(random, 12 + random.Below(30)) + Decimal(number)),
                              Text(pid::kBody, Words(random, 200 + random.Below(600)))};
    appointment.named = {
        {{format::propset::kAppointment, 0x8205, {}}, Number(0, 2)},
        {{format::propset::kAppointment, 0x8208, {}}, Text(0, Words(random, 12))},
        {{format::propset::kAppointment, 0x820D, {}}, Time(0, start)},
        {{format::propset::kAppointment, 0x820E, {}}, Time(0, start + 60 * kMinute)},
        {{format::propset::kAppointment, 0x8213, {}}, Number(0, 60)},
        {{format::propset::kAppointment, 0x8215, {}}, Flag(0, random.Below(9) == 0)},
        {{format::propset::kCommon, 0x8502, {}}, Time(0, start - 15 * kMinute)},
        {{format::propset::kCommon, 0x8503, {}}, Flag(0, true)},
    };
    return appointment;
}

StoreMessage OrdinaryTask(CRandom& random, std::uint64_t number)
{
    const std::uint64_t start = FileTime(2012, 3, 1) + number * 60 * kMinute;
    StoreMessage task{.messageClass = u"IPM.Task"};
    task.properties = {Text(pid::kSubject, Words(random, 12 + random.Below(30)) + Decimal(number)),
                       Text(pid::kBody, Words(random, 100 + random.Below(600)))};
    task.named = {{{format::propset::kTask, 0x8101, {}}, Number(0, random.Below(3))},
                  {{format::propset::kTask, 0x8104, {}}, Time(0, start)},
                  {{format::propset::kTask, 0x8105, {}}, Time(0, start + 2 * 1440 * kMinute)},
                  {{format::propset::kTask, 0x811C, {}}, Flag(0, random.Below(2) == 0)},
                  {{format::propset::kTask, 0x811F, {}}, Text(0, kPeople[random.Below(std::size(kPeople))])},
                  {{format::propset::kCommon, 0x8503, {}}, Flag(0, false)}};
    return task;
}

struct KindFacts {
    std::u16string_view folderClass;
    std::uint64_t expectedBytes;
};

KindFacts FactsOf(ItemKind kind)
{
    switch (kind) {
        case ItemKind::Contacts:
            return {u"IPF.Contact", 5000};
        case ItemKind::Appointments:
            return {u"IPF.Appointment", 4000};
        case ItemKind::Tasks:
            return {u"IPF.Task", 4000};
        case ItemKind::Mails:
            break;
    }
    return {u"IPF.Note", 7000};
}

/// Files that pack badly. All begin in one stretch of noise: making them costs no more than copying.
class CAttachmentMaker {
public:
    CAttachmentMaker(std::size_t count, std::size_t bytes) : m_count(count), m_bytes(bytes)
    {
        if (count == 0)
            return;
        CRandom random(99);
        m_noise.resize(bytes + kStarts);
        for (std::byte& byte : m_noise)
            byte = static_cast<std::byte>(random.Below(256));
    }

    void AddTo(StoreMessage& item, std::uint64_t number) const
    {
        for (std::size_t i = 0; i < m_count; ++i) {
            const auto begin =
                m_noise.begin() + static_cast<std::ptrdiff_t>((number * m_count + i) % kStarts);
            item.attachments.push_back({.fileName = u"file " + Decimal(i + 1) + u".bin",
                                        .data = Bytes(begin, begin + static_cast<std::ptrdiff_t>(m_bytes))});
        }
    }

private:
    static constexpr std::size_t kStarts = 1021;
    std::size_t m_count, m_bytes;
    Bytes m_noise;
};

StoreMessage OrdinaryItem(ItemKind kind, std::uint32_t seed, std::uint64_t number)
{
    CRandom random(StreamOf(seed, number));
    switch (kind) {
        case ItemKind::Contacts:
            return OrdinaryContact(random, number);
        case ItemKind::Appointments:
            return OrdinaryAppointment(random, number);
        case ItemKind::Tasks:
            return OrdinaryTask(random, number);
        case ItemKind::Mails:
            break;
    }
    return OrdinaryMail(random, number);
}

}  // namespace

MailStoreFigures WriteMailStore(const MailStoreOptions& options, platform::IFile& file)
{
    MailStoreFigures figures;
    CStoreBuilder builder(file, options.format, u"Large store");
    const KindFacts facts = FactsOf(options.kind);
    CRandom random(options.seed);
    const CAttachmentMaker attachments(options.attachments, options.attachmentBytes);
    const std::uint64_t itemBytes =
        facts.expectedBytes + options.bodyBytes + options.attachments * (options.attachmentBytes + 1500);
    const std::uint64_t expected = options.mails != 0 ? options.mails : options.fileBytes / itemBytes + 1;
    const std::uint32_t folders = std::max(1u, options.folders);
    const std::uint64_t perFolder = std::max<std::uint64_t>(1, (expected + folders - 1) / folders);
    // The trees and tables at the end take about a hundredth.
    const std::uint64_t fullAt = options.fileBytes - options.fileBytes / 50;
    bool full = false;
    for (std::uint32_t folder = 0; !full; ++folder) {
        std::u16string name(kFolderNames[folder % std::size(kFolderNames)]);
        if (folder >= std::size(kFolderNames))
            name += u" " + Decimal(folder / std::size(kFolderNames) + 1);
        const std::uint32_t nid =
            builder.AddFolder({.name = name, .containerClass = std::u16string(facts.folderClass)});
        for (std::uint64_t i = 0; i < perFolder && !full; ++i) {
            StoreMessage item = OrdinaryItem(options.kind, options.seed, figures.mails);
            attachments.AddTo(item, figures.mails);
            if (options.bodyBytes != 0)
                item.properties.push_back(InSubnode(Text(pid::kBody, Words(random, options.bodyBytes / 2))));
            item.label = "mail " + std::to_string(figures.mails++);
            builder.File().SkipTo(options.spreadBytes / expected * figures.mails);
            builder.AddMessage(item, nid);
            full = options.mails != 0 ? figures.mails == options.mails : builder.File().Position() >= fullAt;
        }
        builder.CloseContents(nid);
    }
    builder.Finish();
    figures.directory = builder.File().Directory();
    return figures;
}

std::filesystem::path MakeLongStore(const std::filesystem::path& path, std::uint64_t bytes)
{
    const auto file = platform::HostFileSystem().Create(path);
    CStoreFile writer(*file, {});
    for (const std::uint32_t nid : {0x21u, 0x61u, 0x122u})
        writer.AddNode({.nid = nid, .bidData = writer.WriteBlock(Bytes(64, std::byte{1}))});
    writer.Finish();
    file->SetSize(bytes);
    return path;
}

}  // namespace pastille::tests
