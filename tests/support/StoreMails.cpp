#include "tests/support/StoreMails.h"

#include <algorithm>
#include <iterator>

namespace pastille::tests {
namespace {

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

std::uint64_t StreamOf(std::uint32_t seed, std::uint64_t number)
{
    return (std::uint64_t{seed} << 40) + number;
}

}  // namespace

std::u16string Words(CRandom& random, std::size_t characters)
{
    std::u16string text;
    while (text.size() < characters) {
        text += kWords[random.Below(std::size(kWords))];
        text += random.Below(14) == 0 ? u".\r\n" : u" ";
    }
    return text;
}

std::u16string Person(CRandom& random)
{
    return std::u16string(kPeople[random.Below(std::size(kPeople))]);
}

std::u16string Decimal(std::uint64_t number)
{
    return platform::FromUtf8(std::to_string(number));
}

StoreMessage OrdinaryMail(CRandom& random, std::uint64_t number)
{
    const std::u16string subject = Words(random, 12 + random.Below(30)) + Decimal(number);
    const std::u16string sender = Person(random);
    const std::uint64_t sent = FileTime(2012, 3, 1) + number * 7 * 600'000'000;
    StoreMessage mail = Mail(subject, sender, Words(random, 1000 + random.Below(1500)), sent);
    mail.flags = random.Below(5) == 0 ? 0 : 1;
    mail.recipients = {{Person(random), u"team@example.org", 1}};
    mail.properties.push_back(Text(0x1035, u"<" + Decimal(number) + u".mail@example.org>"));
    return mail;
}

MailStoreFigures WriteMailStore(const MailStoreOptions& options, platform::IFile& file)
{
    MailStoreFigures figures;
    CStoreBuilder builder(file, options.format, u"Large store");
    const std::uint64_t expected =
        options.mails != 0 ? options.mails : options.fileBytes / options.items.bytes + 1;
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
            builder.AddFolder({.name = name, .containerClass = options.items.folderClass});
        for (std::uint64_t i = 0; i < perFolder && !full; ++i) {
            CRandom random(StreamOf(options.seed, figures.mails));
            StoreMessage item = options.items.make(random, figures.mails);
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
