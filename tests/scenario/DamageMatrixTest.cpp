#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

#include "platform/Text.h"
#include "tests/scenario/DamageOracle.h"
#include "tests/scenario/Damages.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"

namespace pastille::tests {
namespace {

using format::CryptMethod;
using format::Variant;

constexpr unsigned kMails = 30;
constexpr std::u16string_view kInner = u"Inside ";  ///< before the number of the mail that it is attached to

std::u16string NumberedText(std::u16string_view text, unsigned number)
{
    return std::u16string(text) + platform::FromUtf8("#" + std::to_string(100 + number));
}

/// A text of about that length, any part of which tells the number.
std::u16string LongText(unsigned number, std::size_t length)
{
    std::u16string text;
    while (text.size() < length)
        text += NumberedText(u"Text ", number) + u". ";
    return text;
}

Bytes AttachedBytes(unsigned number, std::size_t length)
{
    return Binary(0, platform::ToUtf8(LongText(number, length))).value;
}

/// A mail whose every value has its number: in its own block, in subnodes, in trees of them.
StoreMessage NumberedMail(unsigned i)
{
    StoreMessage mail = Mail(NumberedText(u"Mail ", i), NumberedText(u"Sender ", i),
                             LongText(i, 60 + i % 7 * 230), FileTime(2020, 5, 1 + i % 28, i % 24, 7));
    mail.label = "mail " + std::to_string(i);
    if (i % 5 == 4)
        mail.properties.back() = InSubnode(Text(format::pid::kBody, LongText(i, 900)), i % 2 == 0 ? 300 : 0);
    if (i % 5 == 2)
        mail.attachments = {{.fileName = u"small.bin", .data = AttachedBytes(i, 40 + i)},
                            {.fileName = u"tree.bin", .data = AttachedBytes(i, 2000), .leafBytes = 300}};
    if (i % 10 == 2) {  // blocks around the sizes of their parts, some ending in zeros
        constexpr std::size_t kSizes[] = {1, 16, 48, 15, 17, 64};
        for (const bool endsInZeros : {false, true}) {
            Bytes data = AttachedBytes(i, 64);
            data.resize(kSizes[i / 10 + (endsInZeros ? 3 : 0)]);
            if (endsInZeros)
                std::ranges::fill(std::span(data).subspan(data.size() / 2), std::byte{0});
            mail.attachments.push_back({.fileName = u"tiny.bin", .data = data, .inSubnode = true});
        }
    }
    if (i % 10 == 7) {
        const StoreMessage inner =
            Mail(NumberedText(kInner, i), NumberedText(u"Sender ", i), LongText(i, 300), 0);
        mail.attachments = {{.method = 5, .embedded = std::make_shared<StoreMessage>(inner)}};
    }
    if (i == 16 || i == 26) {  // nothing but its own block, by which no node is known; in no old page
        mail.bare = true;
        mail.recipients.clear();
        mail.properties.push_back(Text(format::pid::kMessageClass, mail.messageClass));
    }
    if (i % 8 == 3)
        mail.deletion = i % 16 == 3 ? Deletion::OfNode : Deletion::OfNodeAndBlocks;
    return mail;
}

const std::vector<StoreMessage>& Mails()
{
    static const std::vector<StoreMessage> mails = [] {
        std::vector<StoreMessage> made;
        for (unsigned i = 0; i < kMails; ++i)
            made.push_back(NumberedMail(i));
        return made;
    }();
    return mails;
}

std::string FolderOf(unsigned mail)
{
    return mail < 20 ? "/Inbox" : "/Projects/Old";
}

/// Old leaf pages beside the valid tree: of nodes that are as they were, and of one that has been deleted.
void WriteOldPages(CStoreFile& store)
{
    const std::vector<NbtEntry>& nodes = store.Nodes();
    store.WriteNbtPage({nodes.begin(), nodes.begin() + 6});
    const StoreDirectory& directory = store.Directory();
    store.WriteNbtPage({{0x300004, directory.Find("mail 11/data").bid, directory.Find("mail 11/subnodes").bid,
                         directory.nodes.at("folder Inbox")}});
}

StoreDescription Office(const StoreFormat& format)
{
    StoreDescription store;
    store.format = format;
    const bool isLarge = format.variant == Variant::Unicode4k;
    store.format.nodesPerPage = isLarge ? 12 : 5;
    store.format.blocksPerPage = isLarge ? 40 : 15;
    store.format.childrenPerPage = 4;
    // Most of the block tree and some of the node tree lie before all blocks, the rest behind them.
    store.format.reservedPageSlots = isLarge ? 12 : 32;
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    StoreFolder old{.name = u"Old", .containerClass = u"IPF.Note"};
    for (unsigned i = 0; i < kMails; ++i)
        (FolderOf(i) == "/Inbox" ? inbox : old).messages.push_back(Mails()[i]);
    StoreFolder projects{.name = u"Projects"};
    projects.folders = {old};
    store.folders = {inbox, projects};
    store.beforeTrees = WriteOldPages;
    return store;
}

// ---- what comes back

/// What of an item tells which one it is, its number in front.
std::string Identity(std::u16string_view subject, std::u16string_view sender)
{
    return platform::ToUtf8(std::u16string(subject) + u" of " + std::u16string(sender));
}

std::string Identity(const FoundItem& item)
{
    return Identity(TextValue(item.values, format::pid::kSubject),
                    TextValue(item.values, format::pid::kSentRepresentingName));
}

void AddNumbers(const std::string& text, std::set<unsigned long>& numbers)
{
    for (std::size_t at = text.find('#'); at != std::string::npos; at = text.find('#', at + 1)) {
        // All have three digits; a text that is cut may show fewer.
        if (const unsigned long number = std::strtoul(text.c_str() + at + 1, nullptr, 10); number >= 100)
            numbers.insert(number);
    }
}

/// The numbers that an item, and what is attached to it, shows.
void AddNumbers(const FoundItem& item, std::set<unsigned long>& numbers)
{
    namespace pid = format::pid;
    for (const std::uint16_t id :
         {pid::kSubject, pid::kSentRepresentingName, pid::kConversationTopic, pid::kBody})
        AddNumbers(platform::ToUtf8(TextValue(item.values, id)), numbers);
    for (const FoundAttachment& attachment : item.attachments) {
        const auto* const text = reinterpret_cast<const char*>(attachment.data.data());
        AddNumbers(std::string(text, attachment.data.size()), numbers);
        for (const FoundItem& inner : attachment.embedded)
            AddNumbers(inner, numbers);
    }
}

/// Runs a repair of a damaged copy of a store and holds what comes back against what must.
class CDamageCase {
public:
    CDamageCase(const CBuiltStore& sound, const Damage& damage, bool smartScan)
        : m_damage(damage),
          m_damaged(DamagedCopy(sound, damage)),
          m_oracle(sound, m_damaged,
                   {.smartScan = smartScan,
                    .insertedAt = damage.inserted != 0 ? Middle(UsedBytes(sound)) : ~std::uint64_t{0},
                    .insertedBytes = damage.inserted}),
          m_isOst(sound.Format().ost),
          m_smartScan(smartScan)
    {
    }

    void Check()
    {
        CRepair repair(m_damaged, m_isOst ? "mail.ost" : "mail.pst");
        repair.settings.smartScan = m_smartScan;
        repair.Run();
        ASSERT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
        EXPECT_EQ(repair.frontEnd.completions, 1);
        for (FoundItem& item : ReadNewStore(repair.state.outputPath)) {
            std::set<unsigned long> numbers;
            AddNumbers(item, numbers);
            EXPECT_TRUE(numbers.size() < 2 || m_damage.cost == Cost::Mixture)
                << "parts of several: " << Identity(item);
            m_found.emplace(Identity(item), std::move(item));
        }
        for (unsigned i = 0; i < kMails; ++i) {
            const StoreMessage& mail = Mails()[i];
            CheckMail(i, mail, mail.label);
            if (i % 10 == 7)
                CheckMail(i, *mail.attachments[0].embedded, mail.label + "/attachment 0/message");
        }
    }

private:
    /// A file may end long behind its last block and page.
    static std::uint64_t UsedBytes(const CBuiltStore& sound)
    {
        std::uint64_t end = 0;
        for (const StorePlace& place : sound.Directory().places)
            end = std::max(end, place.offset + place.extent);
        return end;
    }

    static Bytes DamagedCopy(const CBuiltStore& sound, const Damage& damage)
    {
        CMemoryFile file(sound.Content());
        damage.apply(CStoreDamage(file, sound.Directory(), sound.Format()), UsedBytes(sound));
        return file.Content();
    }

    static std::u16string TextOf(const StoreMessage& mail, std::uint16_t id)
    {
        FoundValues values;
        for (const StoreProperty& property : mail.properties)
            values[property.id] = {property.type, property.value};
        return TextValue(values, id);
    }

    void CheckMail(unsigned number, const StoreMessage& mail, const std::string& label)
    {
        const bool hasContext = m_oracle.HasContext(label);
        const bool hasNode = m_oracle.HasNode(label);
        const bool isOrphan = m_oracle.IsOrphan(label);
        if (m_damage.cost == Cost::Nothing && mail.deletion == Deletion::None && label == mail.label) {
            EXPECT_TRUE(hasNode && m_oracle.IsWhole(label)) << label << " is beyond what the test looks for";
        }
        std::size_t inFolders = 0, orphaned = 0;
        const auto [begin, end] = m_found.equal_range(
            Identity(TextOf(mail, format::pid::kSubject), TextOf(mail, format::pid::kSentRepresentingName)));
        for (auto at = begin; at != end; ++at) {
            const FoundItem& item = at->second;
            const bool isInOrphans = item.folder == "/Orphaned Mails";
            ++(isInOrphans ? orphaned : inFolders);
            if (!hasContext || m_damage.cost == Cost::Mixture)
                continue;
            if (TextOf(mail, format::pid::kBody).size() < 1600 && number % 5 != 4) {
                EXPECT_EQ(TextValue(item.values, format::pid::kBody), TextOf(mail, format::pid::kBody))
                    << label;
            }
            if (!isInOrphans)
                CheckPlaced(number, mail, label, item);
        }
        if (m_damage.cost == Cost::Mixture && !(hasContext && m_oracle.IsWhole(label)))
            return;
        EXPECT_LE(inFolders, hasNode ? 1u : 0u) << label << " twice, or from nowhere";
        EXPECT_EQ(orphaned, isOrphan ? 1u : hasContext ? 0u : orphaned) << label;
        EXPECT_LE(orphaned, 1u) << label;
        if (hasNode && hasContext) {
            EXPECT_EQ(inFolders, 1u) << label << " is lost";
        }
    }

    /// Of an item whose context is whole: its folder, and, when they are whole too, its other parts.
    void CheckPlaced(unsigned number, const StoreMessage& mail, const std::string& label,
                     const FoundItem& item)
    {
        std::vector<std::string> folders = {"folder Top of Personal Folders"};
        if (FolderOf(number) == "/Inbox")
            folders.push_back("folder Inbox");
        else
            folders.insert(folders.end(), {"folder Projects", "folder Old"});
        if (std::ranges::all_of(folders, [&](const std::string& folder) {
                return m_oracle.HasNode(folder) && m_oracle.HasContext(folder);
            })) {
            EXPECT_EQ(item.folder, FolderOf(number)) << label;
        }
        if (!m_oracle.IsWhole(label))
            return;
        EXPECT_EQ(TextValue(item.values, format::pid::kBody), TextOf(mail, format::pid::kBody)) << label;
        ASSERT_EQ(item.attachments.size(), mail.attachments.size()) << label;
        for (std::size_t i = 0; i < item.attachments.size(); ++i) {
            EXPECT_EQ(item.attachments[i].data, mail.attachments[i].data) << label;
            EXPECT_EQ(item.attachments[i].embedded.size(), mail.attachments[i].embedded ? 1u : 0u) << label;
        }
    }

    const Damage& m_damage;
    Bytes m_damaged;
    CDamageOracle m_oracle;
    bool m_isOst, m_smartScan;
    std::multimap<std::string, FoundItem> m_found;
};

// ---- the matrix

/// Heaps are packed in OSTs only: a PST's must begin with their own signature.
struct FormatCase {
    const char* name;
    Variant variant;
    CryptMethod crypt;
    Packing packing = Packing::None;
    bool encodeFirst = true;
};

constexpr FormatCase kFormats[] = {
    {"AnsiPlain", Variant::Ansi, CryptMethod::None},
    {"AnsiPermute", Variant::Ansi, CryptMethod::Permute},
    {"AnsiCyclic", Variant::Ansi, CryptMethod::Cyclic},
    {"UnicodePlain", Variant::Unicode, CryptMethod::None},
    {"UnicodePermute", Variant::Unicode, CryptMethod::Permute},
    {"UnicodeCyclic", Variant::Unicode, CryptMethod::Cyclic},
    {"LargePlain", Variant::Unicode4k, CryptMethod::None},
    {"LargePlainPacked", Variant::Unicode4k, CryptMethod::None, Packing::All},
    {"LargePlainHeapsUnpacked", Variant::Unicode4k, CryptMethod::None, Packing::AllButHeaps},
    {"LargePermute", Variant::Unicode4k, CryptMethod::Permute},
    {"LargePermuteThenPacked", Variant::Unicode4k, CryptMethod::Permute, Packing::All},
    {"LargePackedThenPermute", Variant::Unicode4k, CryptMethod::Permute, Packing::All, false},
    {"LargeCyclic", Variant::Unicode4k, CryptMethod::Cyclic},
    {"LargeCyclicThenPacked", Variant::Unicode4k, CryptMethod::Cyclic, Packing::AllButHeaps},
    {"LargePackedThenCyclic", Variant::Unicode4k, CryptMethod::Cyclic, Packing::All, false},
};

class DamageMatrix : public testing::TestWithParam<std::size_t> {};

TEST_P(DamageMatrix, WhatIsReachableComesBackOnce)
{
    const FormatCase& tested = kFormats[GetParam()];
    for (const bool ost : {false, true}) {
        const CBuiltStore sound(
            Office({.variant = tested.variant,
                    .ost = ost,
                    .crypt = tested.crypt,
                    .packing = ost || tested.packing == Packing::None ? tested.packing : Packing::AllButHeaps,
                    .encodeBeforePacking = tested.encodeFirst}));
        for (std::size_t i = 0; i < std::size(kDamages); ++i) {
            // Every other damage; next to each other, kinds of file and of scan take turns.
            const std::size_t turn = i + GetParam();
            if (turn % 2 == 1 || ost != (turn / 2 % 2 == 1))
                continue;
            const bool smartScan = (turn / 4 + GetParam()) % 2 == 1;
            SCOPED_TRACE(std::string(kDamages[i].name) + (ost ? ", OST" : ", PST") +
                         (smartScan ? ", Smart Scan" : ""));
            CDamageCase(sound, kDamages[i], smartScan).Check();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, DamageMatrix, testing::Range(std::size_t{0}, std::size(kFormats)),
                         [](const auto& tested) { return std::string(kFormats[tested.param].name); });

}  // namespace
}  // namespace pastille::tests
