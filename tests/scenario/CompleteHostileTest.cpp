#include <gtest/gtest.h>

#include <sys/resource.h>
#include <algorithm>
#include <chrono>

#include "format/Bytes.h"
#include "tests/scenario/CompleteRun.h"
#include "tests/scenario/HostileMails.h"
#include "tests/support/WholeCompare.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
using format::StoreLE;
using format::Variant;
using nlohmann::json;
namespace pid = format::pid;

constexpr std::uint32_t kInbox = 0x9002, kOther = 0x9022;
constexpr std::uint32_t kVictim = 0x300004, kBystander = 0x300024;
constexpr std::uint64_t kNewestPage = 0x2000000;  ///< BID that looks newer than that of any page

/// What is wrong with a store: a mail of it, what is written beside it, or what befalls the file.
struct HostileStore {
    const char* name;
    void (*make)(StoreDescription& store, StoreMessage& victim);
    void (*damage)(CStoreDamage& damage, const CBuiltStore& store) = [](CStoreDamage&, const CBuiltStore&) {};
};

void Nothing(StoreDescription&, StoreMessage&) {}

void Fill(std::span<std::byte> block, std::size_t offset, std::size_t count, unsigned value)
{
    for (std::size_t i = offset; i < std::min(block.size(), offset + count); ++i)
        block[i] = static_cast<std::byte>(value);
}

/// Every 16 bits of a block but its beginning become the same.
void EditAll(CStoreDamage& damage, const std::string& block, unsigned value)
{
    damage.EditBlock(block, [value](std::span<std::byte> bytes) { Fill(bytes, 12, bytes.size(), value); });
}

void PagesThatLie(StoreDescription& store, StoreMessage&)
{
    store.beforeTrees = [](CStoreFile& file) {
        const std::vector<NbtEntry> nodes = {file.Nodes().begin(), file.Nodes().begin() + 3};
        std::uint64_t bid = kNewestPage;
        for (const std::uint8_t size : std::initializer_list<std::uint8_t>{0, 255, 1})
            file.WriteNbtPage(nodes, {.bid = bid += 4, .entrySize = size});
        for (const std::uint16_t count : std::initializer_list<std::uint16_t>{0, 255})
            file.WriteNbtPage(nodes, {.bid = bid += 4, .count = count, .maximum = count});
        file.WriteNbtPage({}, {.bid = bid += 4});
        file.WriteNbtPage(nodes, {.bid = bid += 4, .type = 0x80});
        const std::uint64_t data = nodes[0].bidData;
        for (const std::uint64_t ib : {std::uint64_t{0}, std::uint64_t{0x4401}, ~std::uint64_t{0} >> 20})
            for (const std::uint16_t cb : std::initializer_list<std::uint16_t>{0, 1, 8177, 65535})
                file.WriteBbtPage({{data, ib, cb, cb}, {0x90000, ib, cb, cb}}, {.bid = bid += 4});
    };
}

/// Trees of blocks that name themselves, each other, or what cannot be below them.
void TreesInCircles(StoreDescription& store, StoreMessage& victim)
{
    store.atStart = [](CStoreFile& file) {
        const std::uint64_t self[] = {kHostileTree}, other[] = {kOtherHostileTree};
        file.WriteDataTreeBlock(2, 5000, self, {.bid = kHostileTree});
        file.WriteDataTreeBlock(9, 5000, other, {.bid = kOtherHostileTree});
        file.WriteDataTreeBlock(1, 5000, self, {.bid = 0x70012});
        const format::SubnodeIndexEntry index[] = {{0x41, kHostileSubnodes}, {0x21, kHostileSubnodes}};
        file.WriteInternalBlock(format::EncodeSubnodeIndex(file.Layout(), index), {.bid = kHostileSubnodes});
    };
    victim.attachments = {
        FromTree(kHostileTree), FromTree(kOtherHostileTree), FromTree(0x70012), {.fileName = u"self.bin"}};
    victim.attachments.back().subnodes = {{0x7F0A4, 0x70002, kHostileSubnodes}};
    victim.subnodes = {{0x7F085, 0x70002, kHostileSubnodes}, {0x7F0A5, 0, 0}, {0x7F0A5, 0, 0}};
}

void OddValues(StoreDescription&, StoreMessage& victim)
{
    const auto add = [&](std::uint16_t id, unsigned type, Bytes value) {
        victim.properties.push_back({id, static_cast<PropertyType>(type), std::move(value)});
    };
    add(0x6801, 0x7777, Bytes(5));                                 // of no type
    add(0x6802, 0x1003, Bytes(7, std::byte{1}));                   // no whole number of numbers
    add(0x6803, 0x1102, LittleEndian(std::uint32_t{0xFFFFFFFF}));  // elements without end
    add(0x6804, 0x101F, Bytes(9, std::byte{0xEE}));                // elements outside
    add(0x6805, 0x001F, Bytes(3, std::byte{'x'}));                 // half a character
    add(0x6806, 0x0048, Bytes(4));                                 // part of a GUID
    add(0x6807, 0x0040, Bytes(3));
    add(pid::kRtfCompressed, 0x0102, Bytes(40, std::byte{0xFF}));
    victim.properties.push_back(Text(pid::kDisplayCc, u"\xD83D half"));
    victim.properties.push_back(Text(pid::kDisplayBcc, std::u16string_view(u"in\0side", 7)));
    victim.properties.push_back(Text(0x0E1D, u"\x1"));
    victim.properties.push_back(Time(pid::kMessageDeliveryTime, ~std::uint64_t{0}));
    victim.properties.push_back(Behind(0x6808, PropertyType::Binary, 0xFFFFFFE0));
    victim.properties.push_back(Behind(0x6809, PropertyType::Binary, 0x1F));
    victim.named.push_back({{format::propset::kAppointment, 0x8216}, Binary(0, Bytes(50, std::byte{0xFF}))});
}

/// Ids of what a store keeps for itself. [MS-PST] 2.4
void IdsOfTheStore(StoreDescription& store, StoreMessage& victim)
{
    for (const std::uint16_t id :
         std::initializer_list<std::uint16_t>{0x67F2, 0x67F3, 0x0E27, 0x0E33, 0x6705, 0x3601}) {
        victim.properties.push_back(Number(id, 0xFFFFFFFF));
        store.folders[0].properties.push_back(Number(id, 0xFFFFFFFF));
    }
    for (const std::uint16_t id :
         std::initializer_list<std::uint16_t>{0x0FFF, 0x0FF9, 0x0FF6, 0x0E09, 0x35E0, 0x35E3, 0x7C06}) {
        victim.properties.push_back(Binary(id, Bytes(24, std::byte{0xAB})));
        store.folders[0].properties.push_back(Binary(id, Bytes(24, std::byte{0xAB})));
    }
    victim.attachments = {{.fileName = u"a.bin", .data = Bytes(20, std::byte{1})}};
    victim.attachments[0].properties = {Number(0x67F2, 9), Number(0x0E21, 77), Number(0x0E20, 0x7FFFFFFF)};
}

/// More would only take longer.
void Multitudes(StoreDescription&, StoreMessage& victim)
{
    for (std::uint32_t i = 0; i < 600; ++i)
        victim.recipients.push_back({u"Somebody", u"somebody@example.org", 1});
    for (std::uint32_t i = 0; i < 1000; ++i)
        victim.subnodes.push_back({0x7F05F + 32 * i, 0, 0});
    for (std::uint32_t i = 0; i < 2000; ++i)
        victim.named.push_back({{format::propset::kCommon, 0xA000 + i}, Number(0, i)});
}

/// The folder's table has the row of a message that is not there, and not that of the victim.
void ListAnother(CStoreDamage& damage, const CBuiltStore&)
{
    damage.EditBlock("folder Inbox/contents/data", [](std::span<std::byte> bytes) {
        for (std::size_t at = 0; at + 4 <= bytes.size(); ++at) {
            if (format::LoadLE<std::uint32_t>(bytes, at) == kVictim)
                StoreLE(bytes, at, kVictim + 0x40);
        }
    });
}

constexpr auto kNoDamage = [](CStoreDamage&, const CBuiltStore&) {};

const HostileStore kStores[] = {
    {"VersionOfNothing", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) { d.Write(10, Bytes(2, std::byte{0x77})).SetCryptByte(9); }},
    {"RootsElsewhere", Nothing, [](CStoreDamage& d, const CBuiltStore&) { d.SwapRoots(); }},
    {"RootsOutside", Nothing,
     [](CStoreDamage& d, const CBuiltStore& store) {
         const bool wide = store.Format().variant != Variant::Ansi;
         d.Write(wide ? 0xD8 : 0xB8, Bytes(wide ? 32 : 16, std::byte{0x7F}));
     }},
    {"PagesThatLie", PagesThatLie, [](CStoreDamage& d, const CBuiltStore&) { d.ZeroRoot(); }},
    {"CountsOverTheMaximum", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) { d.SetPageCount(PlaceKind::NbtIndex, 255).ZeroRoot(); }},
    {"APageThatNamesItself", Nothing, [](CStoreDamage& d, const CBuiltStore&) { d.PointPageAtItself(0); }},
    {"TreesInCircles", TreesInCircles, kNoDamage},
    {"BlocksThatAreNotThere", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) {
         d.SetNode({kVictim, 0xFFFF0, 0xFFFF2, kInbox});
     }},
    {"ANodeWithAnothersBlocks", Nothing,
     [](CStoreDamage& d, const CBuiltStore& store) {
         const StoreDirectory& known = store.Directory();
         d.SetNode(
             {kVictim, known.Find("folder Inbox/contents/data").bid, known.Find("Victim/data").bid, kInbox});
     }},
    {"NoStoreNode", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) {
         d.SetNode({0x21, 0, 0, 0});
     }},
    {"NoNameMap", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) {
         d.SetNode({0x61, 0, 0, 0});
     }},
    {"NoRootFolder", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) {
         d.SetNode({0x122, 0, 0, 0x122});
     }},
    {"AFolderInItself", Nothing,
     [](CStoreDamage& d, const CBuiltStore& store) {
         const StoreDirectory& known = store.Directory();
         d.SetNode({kOther, known.Find("folder Other/data").bid, 0, kOther});
     }},
    {"FoldersInEachOther", Nothing,
     [](CStoreDamage& d, const CBuiltStore& store) {
         const StoreDirectory& known = store.Directory();
         d.SetNode({kOther, known.Find("folder Other/data").bid, 0, kInbox});
         d.SetNode({kInbox, known.Find("folder Inbox/data").bid, 0, kOther});
     }},
    {"AParentThatIsNoFolder", [](StoreDescription&, StoreMessage& victim) { victim.parent = kBystander; },
     kNoDamage},
    {"AHeapWithoutSignature", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) {
         d.EditBlock("Victim/data", [](std::span<std::byte> bytes) { Fill(bytes, 2, 1, 0); });
     }},
    {"AHeapWithoutItsMap", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) {
         d.EditBlock("Victim/data", [](std::span<std::byte> bytes) { Fill(bytes, 0, 2, 0xFF); });
     }},
    {"AHeapOfOnes", Nothing, [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/data", 0xFF); }},
    {"AHeapOfZeros", Nothing, [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/data", 0); }},
    {"AHeapOfTwos", Nothing, [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/data", 0x02); }},
    {"RecipientsOfOnes", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/recipients/data", 0xFF); }},
    {"AttachmentsOfOnes",
     [](StoreDescription&, StoreMessage& victim) { victim.attachments = {{.fileName = u"a"}}; },
     [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/attachments/data", 0xFF); }},
    {"ContentsOfOnes", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "folder Inbox/contents/data", 0xFF); }},
    {"ContentsOfTwos", Nothing,
     [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "folder Inbox/contents/data", 2); }},
    {"TablesThatListTheMissing", Nothing, ListAnother},
    {"OddValues", OddValues, kNoDamage},
    {"IdsOfTheStore", IdsOfTheStore, kNoDamage},
    {"Multitudes", Multitudes, kNoDamage},
};

/// Most memory that the process ever held, in MB.
long PeakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

StoreMessage Bystander(std::u16string_view subject)
{
    StoreMessage mail = Mail(subject, u"Ben", u"Kept", FileTime(2020, 1, 1));
    mail.attachments = {{.fileName = u"kept.bin", .data = FixedBytes(7, 20'000)}};
    return mail;
}

StoreDescription Around(const HostileStore& hostile, Variant variant)
{
    StoreDescription store;
    store.format = FormatOf(variant);
    store.format.packing = Packing::None;
    store.format.nodesPerPage = 4;
    StoreMessage victim = Mail(u"Victim", u"Ada Brook", u"Text", FileTime(2020, 1, 1));
    victim.nid = kVictim;
    StoreMessage after = Bystander(u"After");
    after.nid = kBystander;
    store.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note", .nid = kInbox},
                     {.name = u"Other", .messages = {Bystander(u"Elsewhere")}, .nid = kOther}};
    hostile.make(store, victim);
    store.folders[0].messages = {Bystander(u"Before"), victim, after};
    return store;
}

/// The store, hostile in that one way; all of it but the victim must come back, each item once.
void RecoverAround(const HostileStore& hostile, Variant variant, bool smartScan)
{
    CBuiltStore built(Around(hostile, variant));
    CStoreDamage damage = built.Damage();
    hostile.damage(damage, built);
    const long memory = PeakMemory();
    const auto start = std::chrono::steady_clock::now();
    CCompleteRun run(built.Content(), {.smartScan = smartScan, .kind = platform::SourceKind::Pst});
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    EXPECT_LT(time.count(), 20.0);
    EXPECT_LT(PeakMemory() - memory, 400) << "MB";
    EXPECT_LT(std::filesystem::file_size(run.Repair().state.outputPath), 40'000'000u);
    for (const char16_t* const subject : {u"Before", u"After", u"Elsewhere"}) {
        const auto items = run.ItemsOf(subject);
        EXPECT_EQ(items.size(), 1u) << platform::ToUtf8(subject) << run.Report()["losses"];
        for (const WholeMessage* const item : items) {
            EXPECT_EQ(TextOf(item->properties, pid::kBody), u"Kept");
            EXPECT_EQ(item->recipients.size(), 1u);
            ASSERT_EQ(item->attachments.size(), 1u);
            EXPECT_EQ(item->attachments[0].properties.at(pid::kAttachDataBinary).bytes,
                      FixedBytes(7, 20'000));
        }
    }
    const auto victims = run.ItemsOf(u"Victim");
    EXPECT_LE(victims.size(), 1u);
    EXPECT_TRUE(!victims.empty() || !run.Report()["losses"].empty()) << "the victim is not told of";
}

/// Variants and kinds of scan take turns.
struct NumberedStore {
    HostileStore store;
    std::size_t number;
    friend void PrintTo(const NumberedStore& tested, std::ostream* out) { *out << tested.store.name; }
};

class CompleteHostile : public testing::TestWithParam<NumberedStore> {};

TEST_P(CompleteHostile, CostsNothingOfOthers)
{
    const HostileStore& hostile = GetParam().store;
    const Variant variant = kAllVariants[GetParam().number % std::size(kAllVariants)];
    SCOPED_TRACE(VariantName(variant));
    RecoverAround(hostile, variant, GetParam().number % 2 == 0);
}

std::vector<NumberedStore> AllStores()
{
    std::vector<NumberedStore> all;
    for (const HostileStore& store : kStores)
        all.push_back({store, all.size()});
    for (const Hostile& mail : HostileMails())
        all.push_back({{mail.name, mail.make, kNoDamage}, all.size()});
    return all;
}

INSTANTIATE_TEST_SUITE_P(Kinds, CompleteHostile, testing::ValuesIn(AllStores()),
                         [](const auto& tested) { return std::string(tested.param.store.name); });

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PASTILLE_DEEP_STACK_FRAMES
#endif
#endif
#ifdef PASTILLE_DEEP_STACK_FRAMES
constexpr int kLevels = 700;  // the sanitizer's frames are several times as large
#else
constexpr int kLevels = 1000;
#endif

/// A thousand messages, each attached to the one around it.
TEST(CompleteOdd, MessagesCountlesslyNestedComeBack)
{
    auto inner = std::make_shared<StoreMessage>(Mail(u"Innermost", u"Ada", u"Text", FileTime(2020, 1, 1)));
    for (int level = 1; level < kLevels; ++level) {
        auto outer = std::make_shared<StoreMessage>(Mail(u"Level", u"Ada", u"Text", FileTime(2020, 1, 1)));
        outer->attachments = {Embed(inner, u"Level")};
        inner = outer;
    }
    StoreMessage mail = Mail(u"Outermost", u"Ada", u"Text", FileTime(2020, 1, 1));
    mail.attachments = {Embed(inner, u"Level")};
    StoreDescription store = InFolders({{.name = u"Inbox", .messages = {mail}}});
    store.format.keepDirectory = false;
    CCompleteRun run(CBuiltStore(store).Content(), {});
    EXPECT_EQ(run.Report()["attachedMessages"], kLevels);
    EXPECT_TRUE(run.Report()["losses"].empty()) << run.Report()["losses"];
    ASSERT_EQ(run.ItemsOf(u"Outermost").size(), 1u);
    const WholeMessage* at = run.ItemsOf(u"Outermost").front();
    int levels = 0;
    for (; !at->attachments.empty() && !at->attachments[0].embedded.empty(); ++levels)
        at = &at->attachments[0].embedded[0];
    EXPECT_EQ(levels, kLevels);
    EXPECT_EQ(TextOf(at->properties, pid::kSubject), u"Innermost");
}

/// Behind or within another store's blocks those of a store keep their places and their BIDs.
TEST(CompleteOdd, OfTwoStoresInOneFileTheFirstComesBack)
{
    StoreDescription first =
        InFolders({{.name = u"Inbox", .messages = {Bystander(u"Before"), Bystander(u"After")}}});
    const CBuiltStore one(first), other(InFolders({{.name = u"Other", .messages = {Bystander(u"Other")}}}));
    Bytes both = one.Content();
    Append(both, other.Content());
    CCompleteRun run(both, {});
    EXPECT_EQ(run.ItemsOf(u"Before").size(), 1u);
    EXPECT_EQ(run.ItemsOf(u"After").size(), 1u);
    const CTemporaryFolder folder;
    one.WriteTo(folder / "one.pst");
    EXPECT_EQ(Joined(Differences(ReadWholeStore(folder / "one.pst"), run.Store())), "");
}

TEST(CompleteOdd, NamesOfFoldersAndFilesAreNeverHostPaths)
{
    StoreDescription store;
    std::size_t items = 0;
    for (const std::u16string& name : OddNames()) {
        StoreMessage mail = Mail(u"In an odd folder", u"Ada", u"Text", FileTime(2020, 1, 1));
        mail.label = "in " + std::to_string(items++);
        mail.attachments = {{.fileName = name, .data = Bytes(20, std::byte{1})}};
        store.folders.push_back({.name = name, .messages = {mail}});
    }
    store.folders.push_back({.name = u"..", .messages = {Bystander(u"Of the same name")}});
    CCompleteRun run(CBuiltStore(store).Content(), {});
    EXPECT_EQ(run.ItemsOf(u"In an odd folder").size(), items);
    EXPECT_EQ(run.ItemsOf(u"Of the same name").size(), 1u);
    const std::filesystem::path report = run.Repair().state.outputPath.parent_path() / "report.json";
    std::vector<std::string> strangers = run.Repair().Strangers();
    std::erase(strangers, report.string());
    EXPECT_EQ(strangers, std::vector<std::string>());
}

/// A failing disk: sectors that cannot be read are zeros to the recovery.
TEST(CompleteOdd, UnreadableSectorsCostWhatLiesInThem)
{
    const HostileStore healthy{"healthy", Nothing};
    const CBuiltStore built(Around(healthy, Variant::Unicode));
    const StorePlace& victim = built.Directory().Find("Victim/data");
    CRepair repair(built.Content());
    repair.settings.complete = true;
    repair.files.faults.unreadable = {{victim.offset / 512 * 512, 512}};
    repair.Run();
    EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
    ASSERT_TRUE(repair.HasResult());
    const WholeStore store = ReadWholeStore(repair.state.outputPath);
    EXPECT_EQ(store.CountItems(false), 3u + store.folders.at("/Inbox").items.size() - 2u);
    std::size_t kept = 0;
    for (const auto& [path, folder] : store.folders)
        for (const WholeMessage& item : folder.items)
            kept += TextOf(item.properties, pid::kBody) == u"Kept";
    EXPECT_EQ(kept, 3u);
}

}  // namespace
}  // namespace pastille::tests
