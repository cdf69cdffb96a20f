#include <gtest/gtest.h>

#include <algorithm>

#include "platform/Text.h"
#include "tests/scenario/CompleteRun.h"
#include "tests/scenario/Damages.h"
#include "tests/support/StoreFamilies.h"
#include "tests/support/WholeCompare.h"

namespace pastille::tests {
namespace {

using format::Variant;
using nlohmann::json;
namespace pid = format::pid;

constexpr std::uint32_t kItems = 16;
constexpr std::uint32_t kSuperseded = 3, kLarge = 4, kLongBody = 5, kLongHeap = 6, kHidden = 12;
constexpr std::uint32_t kDeleted = 99;  ///< number of a mail that only an old page has
const std::string kBefore = "before";   ///< label of the older version of one mail

/// In the range of one leaf or between two, whatever deletes them.
std::uint32_t NidOf(std::uint32_t number)
{
    const std::uint32_t index = number == kDeleted ? 2 * kSuperseded + 1 : 2 * number;
    return (0x10001 + index) << 5 | (number == kHidden ? 8 : 4);
}

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
    if (number == kLongBody)
        mail.properties.back() = InSubnode(Text(pid::kBody, std::u16string(3000, u'x')));
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
    before.properties.back() = Text(pid::kBody, u"Before");
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

const CBuiltStore& Sound(Variant variant)
{
    static std::map<Variant, CBuiltStore> stores;
    return stores.try_emplace(variant, Described(variant)).first->second;
}

const WholeStore& SoundItems(Variant variant)
{
    static std::map<Variant, WholeStore> stores;
    if (!stores.contains(variant)) {
        const CTemporaryFolder folder;
        Sound(variant).WriteTo(folder / "sound.pst");
        stores[variant] = ReadWholeStore(folder / "sound.pst");
    }
    return stores[variant];
}

struct CompleteDamage {
    const char* name;
    Cost cost;
    void (*apply)(CStoreDamage damage, std::uint64_t size);
    std::int64_t moved = 0;  ///< bytes that everything behind the damage lies further back
    bool smartScan = false;
};

std::vector<CompleteDamage> AllDamages()
{
    std::vector<CompleteDamage> all = {
        {"100 bytes inserted", Cost::Parts, [](auto d, auto size) { d.Insert(Middle(size), 100); }, 100},
        {"7 bytes inserted", Cost::Parts, [](auto d, auto size) { d.Insert(Middle(size) + 33, 7); }, 7},
        {"bytes lost", Cost::Parts, [](auto d, auto size) { d.Remove(Middle(size), 1300); }, -1300},
        {"magic lost", Cost::Nothing, [](auto d, auto) { d.SetClientMagic(0); }},
        {"header zero", Cost::Nothing, [](auto d, auto) { d.ZeroHeader(); }},
        {"crypt byte wrong", Cost::Nothing, [](auto d, auto) { d.SetCryptByte(2); }},
        {"node leaves lost", Cost::Parts, [](auto d, auto) { d.Drop(PlaceKind::NbtLeaf).DropOldNodePages(); },
         0, true},
        {"block pages lost", Cost::Nothing,
         [](auto d, auto) { d.Drop(PlaceKind::BbtLeaf).Drop(PlaceKind::BbtIndex).ZeroRoot(); }},
        {"a bit in all pages' checksums", Cost::Nothing, [](auto d, auto) { d.FlipPageSums(); }}};
    for (const Damage& damage : kDamages)
        all.push_back({damage.name, damage.cost, damage.apply, static_cast<std::int64_t>(damage.inserted)});
    for (const bool smartScan : {false, true})
        all.push_back({"half of the node leaves lost", Cost::Parts,
                       [](auto d, auto) { d.DropEveryThird(PlaceKind::NbtLeaf).Drop(PlaceKind::NbtLeaf, 2); },
                       0, smartScan});
    return all;
}

/// Holds what comes back of a damaged store against what must.
class CCompleteCase {
public:
    CCompleteCase(Variant variant, const CompleteDamage& damage)
        : m_sound(Sound(variant)), m_items(SoundItems(variant)), m_damage(damage), m_damaged(Damaged())
    {
    }

    void Check()
    {
        CCompleteRun run(m_damaged, {.smartScan = m_damage.smartScan, .kind = platform::SourceKind::Pst});
        for (std::uint32_t i = 0; i < kItems; ++i)
            CheckItem(run, i);
        EXPECT_EQ(Joined(Differences(m_expected, m_found)), "");
        EXPECT_LE(run.ItemsOf(SubjectOf(kDeleted)).size(), 1u);
        const std::size_t items = run.Store().CountItems(false) + run.Store().CountItems(true);
        EXPECT_TRUE(items <= kItems + 1 || m_damage.cost != Cost::Nothing) << items << " items";
    }

private:
    Bytes Damaged() const
    {
        std::uint64_t size = 0;
        for (const StorePlace& place : m_sound.Directory().places)
            size = std::max(size, place.offset + place.extent);
        CMemoryFile file(m_sound.Content());
        m_damage.apply(CStoreDamage(file, m_sound.Directory(), m_sound.Format()), size);
        return file.Content();
    }

    bool IsThere(std::uint64_t offset, std::uint64_t length) const
    {
        const auto before = std::span(m_sound.Content()).subspan(offset, length);
        for (const std::int64_t moved : {std::int64_t{0}, m_damage.moved}) {
            const auto at = static_cast<std::int64_t>(offset) + moved;
            if (at >= 0 && static_cast<std::uint64_t>(at) + length <= m_damaged.size() &&
                std::ranges::equal(before,
                                   std::span(m_damaged).subspan(static_cast<std::size_t>(at), length)))
                return true;
        }
        return false;
    }

    /// The blocks of everything that the label begins the name of, and the trailers by which they are known.
    bool IsWhole(const std::string& label, bool withTrailers = true) const
    {
        const auto& layout = format::LayoutOf(m_sound.Format().variant);
        return std::ranges::all_of(m_sound.Directory().places, [&](const StorePlace& place) {
            return !place.name.starts_with(label + "/") ||
                   (IsThere(place.offset, place.stored) &&
                    (!withTrailers || IsThere(place.offset + place.extent - layout.blockTrailerSize,
                                              layout.blockTrailerSize)));
        });
    }

    bool HasNode(const std::string& label) const
    {
        const std::size_t size = format::LayoutOf(m_sound.Format().variant).pageSize;
        return IsThere(m_sound.Directory().nodeEntries.at(m_sound.Nid(label)) / size * size, size);
    }

    bool IsFolderWhole(std::uint32_t number) const
    {
        std::vector<std::string> folders = {"Top of Personal Folders", "Inbox"};
        if (FolderOf(number) != "/Inbox")
            folders = {"Top of Personal Folders", "Projects", "Old"};
        return std::ranges::all_of(folders, [&](const std::string& folder) {
            return HasNode("folder " + folder) && IsWhole("folder " + folder);
        });
    }

    void CheckItem(const CCompleteRun& run, std::uint32_t number)
    {
        const std::string label = LabelOf(number);
        const bool isSure = m_damage.cost == Cost::Nothing;
        const bool hasNode = HasNode(label);
        const std::string table = "folder " + std::string(FolderOf(number) == "/Inbox" ? "Inbox" : "Old") +
                                  (number == kHidden ? "/associated" : "/contents");
        const bool isListed = IsFolderWhole(number) && HasNode(table);
        const auto items = run.ItemsOf(SubjectOf(number));
        EXPECT_TRUE(items.size() <= 1 || m_damage.cost == Cost::Mixture) << label << " twice";
        if (number == kSuperseded && !hasNode)
            return;  // an older page may be the newest one now
        const auto losses = run.LossesOf(m_sound.Nid(label), platform::ToUtf8(SubjectOf(number)));
        const bool isReached = hasNode || m_damage.smartScan;
        if (isSure || (IsWhole(label) && isReached)) {
            EXPECT_EQ(items.size(), 1u) << label << " is lost";
            if (!items.empty())
                Compare(run, number, isSure || (hasNode ? IsFolderWhole(number) : isListed));
            if (hasNode && IsWhole(label)) {
                EXPECT_TRUE(losses.empty()) << label << ": " << losses.front();
            }
        } else if (isListed && !(isReached && IsWhole(label, false))) {
            EXPECT_FALSE(losses.empty()) << label << " is not told of";
        }
    }

    /// What the damage takes from every item: names of properties, and how sure it is of attachments' bytes.
    void Reduce(WholeMessage& item, bool hasNames, bool isSure) const
    {
        std::erase_if(item.properties, [&](const auto& property) {
            return !hasNames && std::holds_alternative<format::PropertyName>(property.first);
        });
        for (WholeAttachment& attachment : item.attachments) {
            for (const std::uint16_t id : {pid::kAttachLongFilename, pid::kAttachFilename, pid::kDisplayName})
                isSure ? 0 : attachment.properties.erase(id);
            for (WholeMessage& inner : attachment.embedded)
                Reduce(inner, hasNames, isSure);
        }
    }

    /// Adds an item to the stores that are compared: in its folder, or where that is open in one of no name.
    void Compare(const CCompleteRun& run, std::uint32_t number, bool isPlaced)
    {
        std::string folder, path = FolderOf(number);
        WholeMessage copy = *run.ItemsOf(SubjectOf(number), &folder).front();
        WholeMessage sound;
        for (const WholeMessage& item : m_items.folders.at(path).items) {
            if (TextOf(item.properties, pid::kSubject) == SubjectOf(number))
                sound = item;
        }
        const bool hasNames = m_damage.cost == Cost::Nothing || IsWhole("name map");
        EXPECT_TRUE(hasNames || m_damage.cost == Cost::Mixture || !run.LossesOf("property-names").empty())
            << "names are not told of";
        for (WholeMessage* const item : {&copy, &sound})
            Reduce(*item, hasNames, IsWhole(LabelOf(number)));
        m_expected.folders[isPlaced ? path : "?"].items.push_back(sound);
        m_found.folders[isPlaced ? folder : "?"].items.push_back(copy);
        if (isPlaced && run.Store().folders.contains(path)) {
            m_expected.folders[path].properties = m_items.folders.at(path).properties;
            m_found.folders[path].properties = run.Store().folders.at(path).properties;
        }
    }

    const CBuiltStore& m_sound;
    const WholeStore& m_items;
    const CompleteDamage& m_damage;
    Bytes m_damaged;
    WholeStore m_expected, m_found;
};

class CompleteDamages : public testing::TestWithParam<Variant> {
protected:
    /// The copy, its damage done.
    std::unique_ptr<CCompleteRun> RunDamaged(const std::function<void(CStoreDamage&)>& apply,
                                             bool smartScan = false) const
    {
        CMemoryFile file(sound.Content());
        CStoreDamage damage(file, sound.Directory(), sound.Format());
        apply(damage);
        return std::make_unique<CCompleteRun>(file.Content(), CompleteOptions{.smartScan = smartScan});
    }

    /// Of several blocks of one name.
    StorePlace BlockOf(const std::string& name, std::size_t number) const
    {
        std::vector<StorePlace> blocks;
        std::ranges::copy_if(sound.Directory().places, std::back_inserter(blocks),
                             [&](const StorePlace& place) { return place.name.starts_with(name); });
        return blocks.at(number);
    }

    /// The item, its only loss told so; nullptr when it is not there.
    const WholeMessage* Item(const CCompleteRun& run, std::uint32_t number, const std::string& what) const
    {
        const auto losses = run.LossesOf(sound.Nid(LabelOf(number)), platform::ToUtf8(SubjectOf(number)));
        EXPECT_FALSE(losses.empty());
        for (const json& loss : losses)
            EXPECT_TRUE((loss["what"] == what || (number == kLongHeap && loss["what"] == "properties")) &&
                        loss["why"] == "block-damaged")
                << loss;
        EXPECT_EQ(run.Report()["total"]["expected"], kItems);
        EXPECT_EQ(run.Report()["total"]["partial"], 1);
        EXPECT_EQ(run.Report()["total"]["lost"], 0);
        const auto items = run.ItemsOf(SubjectOf(number));
        EXPECT_EQ(items.size(), 1u);
        return items.empty() ? nullptr : items.front();
    }

    const CBuiltStore& sound = Sound(GetParam());
};

TEST_P(CompleteDamages, WhatIsWholeComesBackOnceAndLossesAreTold)
{
    std::size_t turn = static_cast<std::size_t>(GetParam());
    for (CompleteDamage damage : AllDamages()) {
        if (++turn % std::size(kAllVariants) != 0)
            continue;  // variants and kinds of scan take turns
        damage.smartScan = damage.smartScan || turn % 2 == 0;
        SCOPED_TRACE(std::string(damage.name) + (damage.smartScan ? ", Smart Scan" : ""));
        CCompleteCase(GetParam(), damage).Check();
    }
}

TEST_P(CompleteDamages, AnAttachmentKeepsItsSizeAroundAHole)
{
    const StorePlace hole = BlockOf(LabelOf(kLarge) + "/attachment 2/value/data", 1);
    const auto run = RunDamaged([&](CStoreDamage& damage) { damage.Zero(hole.offset, hole.extent); });
    const WholeMessage* const item = Item(*run, kLarge, "attachment-content");
    ASSERT_TRUE(item != nullptr && item->attachments.size() == 3);
    const WholeObject& attachment = item->attachments[2].properties;
    EXPECT_EQ(TextOf(attachment, pid::kAttachLongFilename), u"large (incomplete).bin");
    const bool isPacked = GetParam() == Variant::Unicode4k;
    const std::size_t block = isPacked ? 65'000 : hole.stored;  // where the builder cuts what it packs
    Bytes expected = FixedBytes(kLarge, 150'000);
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(block), block, std::byte{0});
    EXPECT_TRUE(attachment.at(pid::kAttachDataBinary).bytes == expected);
    EXPECT_EQ(run->LossesOf("attachment-content").front()["name"], "large.bin");
}

TEST_P(CompleteDamages, AnItemComesWithoutItsBody)
{
    const auto run = RunDamaged([](CStoreDamage& d) { d.Drop(LabelOf(kLongBody) + "/value/data"); });
    const WholeMessage* const item = Item(*run, kLongBody, "property");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(TextOf(item->properties, pid::kBody), u"");
    EXPECT_EQ(item->recipients.size(), 2u);
    EXPECT_EQ(run->LossesOf("property").front()["property"].get<std::string>().substr(0, 6), "0x1000");
}

/// What lies in the other blocks is there, with the exact bytes.
TEST_P(CompleteDamages, AHeapComesWithoutOneOfItsBlocks)
{
    const StorePlace block = BlockOf(LabelOf(kLongHeap) + "/data", 1);
    const auto run = RunDamaged([&](CStoreDamage& damage) { damage.Zero(block.offset, block.extent); });
    const WholeMessage* const item = Item(*run, kLongHeap, "property");
    ASSERT_NE(item, nullptr);
    std::size_t kept = 0;
    for (std::uint16_t i = 0; i < 24; ++i) {
        const auto value =
            item->properties.find(format::PropertyName{format::propset::kCommon, 0x9000u + i, {}});
        kept += value != item->properties.end();
        EXPECT_TRUE(value == item->properties.end() || value->second.bytes == FixedBytes(i, 3500));
    }
    EXPECT_GT(kept, 0u);
    EXPECT_LT(kept, 24u);
    EXPECT_EQ(run->LossesOf("property").size(), 24 - kept);
    EXPECT_EQ(TextOf(item->properties, pid::kBody), u"Text of " + SubjectOf(kLongHeap));
}

TEST_P(CompleteDamages, AnItemComesWithoutItsRecipients)
{
    const auto run = RunDamaged([](CStoreDamage& d) { d.Drop(LabelOf(2) + "/recipients/data"); });
    const WholeMessage* const item = Item(*run, 2, "recipients");
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->recipients.empty());
    EXPECT_EQ(TextOf(item->properties, pid::kBody), u"Text of " + SubjectOf(2));
}

TEST_P(CompleteDamages, AFolderHasItsNameFromItsParentsTable)
{
    const auto run = RunDamaged([](CStoreDamage& d) { d.Drop("folder Inbox/data"); });
    WholeStore copy = run->Store();
    copy.folders.at("/Inbox").properties = SoundItems(GetParam()).folders.at("/Inbox").properties;
    EXPECT_EQ(Joined(Differences(SoundItems(GetParam()), copy)), "");
    ASSERT_EQ(run->LossesOf("folder").size(), 1u);
    EXPECT_EQ(run->LossesOf("folder")[0]["folder"], "\\Inbox");
    EXPECT_EQ(run->LossesOf("folder")[0]["why"], "block-damaged");
}

TEST_P(CompleteDamages, TheNewestVersionWinsAndTheOlderOneStandsInForIt)
{
    for (const bool smartScan : {false, true}) {
        const auto sane = RunDamaged([](CStoreDamage&) {}, smartScan);
        ASSERT_EQ(sane->ItemsOf(SubjectOf(kSuperseded)).size(), 1u);
        EXPECT_EQ(TextOf(sane->ItemsOf(SubjectOf(kSuperseded))[0]->properties, pid::kBody),
                  u"Text of " + SubjectOf(kSuperseded));
        EXPECT_TRUE(sane->Report()["losses"].empty()) << sane->Report()["losses"];
        const auto run =
            RunDamaged([](CStoreDamage& d) { d.Drop(LabelOf(kSuperseded) + "/data"); }, smartScan);
        std::string folder;
        const auto items = run->ItemsOf(SubjectOf(kSuperseded), &folder);
        ASSERT_EQ(items.size(), 1u);
        EXPECT_EQ(folder, "/Inbox");
        EXPECT_EQ(TextOf(items[0]->properties, pid::kBody), u"Before");
        EXPECT_EQ(items[0]->recipients.size(), 2u);
        EXPECT_EQ(run->LossesOf("older-version").size(), 1u);
        EXPECT_EQ(run->Report()["total"]["partial"], 1);
    }
}

TEST_P(CompleteDamages, DeletedItemsComeWithSmartScanIntoTheirOwnFolder)
{
    const auto plain = RunDamaged([](CStoreDamage&) {});
    EXPECT_TRUE(plain->ItemsOf(SubjectOf(kDeleted)).empty());
    EXPECT_EQ(Joined(Differences(SoundItems(GetParam()), plain->Store())), "");
    const auto smart = RunDamaged([](CStoreDamage&) {}, true);
    std::string folder;
    const auto items = smart->ItemsOf(SubjectOf(kDeleted), &folder);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(folder, "/Orphaned Mails/Deleted versions");
    EXPECT_EQ(TextOf(items[0]->properties, pid::kBody), u"Text of " + SubjectOf(kDeleted));
    EXPECT_EQ(items[0]->recipients.size(), 2u);
    WholeStore rest = smart->Store();
    rest.folders.at(folder).items.clear();
    EXPECT_EQ(Joined(Differences(SoundItems(GetParam()), rest)), "");
}

INSTANTIATE_TEST_SUITE_P(Variants, CompleteDamages, testing::ValuesIn(kAllVariants), NameOfVariant);

}  // namespace
}  // namespace pastille::tests
