#include "tests/scenario/NumberedMails.h"

#include <map>
#include <utility>

#include "platform/Text.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreFamilies.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

using format::Variant;
namespace pid = format::pid;

const std::string kBefore = "before";  ///< label of the older version of one mail

/// In the range of one leaf or between two, whatever deletes them.
std::uint32_t NidOf(std::uint32_t number)
{
    const std::uint32_t index = number == kDeleted ? 2 * kSuperseded + 1 : 2 * number;
    return (0x10001 + index) << 5 | (number == kHidden ? 8 : 4);
}

StoreMessage MailOf(std::uint32_t number)
{
    StoreMessage mail = Mail(SubjectOf(number), u"Ada Brook", u"Text of " + SubjectOf(number),
                             FileTime(2021, 1 + number % 12, 3, number % 24));
    mail.label = LabelOf(number);
    mail.nid = NidOf(number);
    mail.associated = number == kHidden;
    mail.recipients.push_back({u"Émile", u"emile@example.org", 2});
    mail.named = {{{format::propset::kPublicStrings, 0, u"Keywords"}, Texts(0, {SubjectOf(number), u"b"})}};
    if (number % 3 == 1)
        mail.attachments = {{.fileName = u"small.bin", .data = FixedBytes(number, 70)},
                            Embed(Mail(u"Inside " + SubjectOf(number), u"Ben", u"Inner", 0), u"Inside")};
    if (number == kLarge)
        mail.attachments.push_back({.fileName = u"large.bin", .data = FixedBytes(number, 150'000)});
    if (number == kBodyInSubnode)
        mail.properties.back() = InSubnode(Text(pid::kBody, std::u16string(3000, u'x')));
    if (number == kSuperseded) {
        mail.properties.back() = InSubnode(mail.properties.back());
        // They fill blocks of the heap, so that texts and times lie in its last one.
        for (std::uint16_t i = 0; i < 20; ++i)
            mail.properties.push_back(Binary(static_cast<std::uint16_t>(i + 1), FixedBytes(i, 3500)));
    }
    for (std::uint16_t i = 0; number == kLongHeap && i < 24; ++i)  // of three blocks and more
        mail.named.push_back({{format::propset::kCommon, 0x9000u + i}, Binary(0, FixedBytes(i, 3500))});
    if (number == 7)
        mail.messageClass = u"IPM.Post";
    if (number == kDeleted)
        mail.deletion = Deletion::OfNode;
    return mail;
}

StoreDescription Described(Variant variant)
{
    const bool isLarge = variant == Variant::Unicode4k;
    StoreDescription store;
    store.format = FormatOf(variant);
    store.format.spillHeaps = true;
    store.format.nodesPerPage = isLarge ? 12 : 5;
    store.format.blocksPerPage = isLarge ? 40 : 15;
    store.format.childrenPerPage = 4;
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    StoreFolder old{.name = u"Old", .containerClass = u"IPF.Note"};
    StoreMessage before = MailOf(kSuperseded);
    before.label = kBefore;
    std::erase_if(before.properties, [](const StoreProperty& property) {
        return property.type == format::PropertyType::Binary;
    });
    for (StoreProperty& property : before.properties) {
        if (property.id == pid::kBody)
            property = Text(pid::kBody, u"Before");
    }
    before.deletion = Deletion::OfNode;
    inbox.messages = {before, MailOf(kDeleted)};
    for (std::uint32_t i = 0; i < kItems; ++i)
        (FolderOf(i) == "/Inbox" ? inbox : old).messages.push_back(MailOf(i));
    StoreFolder projects{.name = u"Projects"};
    projects.properties = {Text(pid::kComment, u"Kept")};
    projects.folders = {old};
    store.folders = {inbox, projects};
    store.beforeTrees = [](CStoreFile& file) {
        const StoreDirectory& known = file.Directory();
        const std::uint32_t folder = known.nodes.at("folder Inbox");
        std::vector<NbtEntry> entries;
        for (const auto& [nid, label] :
             {std::pair(NidOf(kSuperseded), kBefore), std::pair(NidOf(kDeleted), LabelOf(kDeleted))})
            entries.push_back(
                {nid, known.Find(label + "/data").bid, known.Find(label + "/subnodes").bid, folder});
        file.WriteNbtPage(entries);
    };
    return store;
}

}  // namespace

std::u16string SubjectOf(std::uint32_t number)
{
    return platform::FromUtf8("Mail " + std::to_string(number) + ".");
}

std::string LabelOf(std::uint32_t number)
{
    return "mail " + std::to_string(number);
}

std::string FolderOf(std::uint32_t number)
{
    return number < 10 || number == kDeleted ? "/Inbox" : "/Projects/Old";
}

const CBuiltStore& NumberedMails(Variant variant)
{
    static std::map<Variant, CBuiltStore> stores;
    return stores.try_emplace(variant, Described(variant)).first->second;
}

const WholeStore& ItemsOfNumberedMails(Variant variant)
{
    static std::map<Variant, WholeStore> stores;
    if (!stores.contains(variant)) {
        const CTemporaryFolder folder;
        NumberedMails(variant).WriteTo(folder / "sound.pst");
        stores[variant] = ReadWholeStore(folder / "sound.pst");
    }
    return stores[variant];
}

}  // namespace pastille::tests
