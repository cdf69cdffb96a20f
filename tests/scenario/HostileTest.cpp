#include <gtest/gtest.h>

#include <sys/resource.h>
#include <algorithm>
#include <chrono>

#include "format/Bytes.h"
#include "platform/Text.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/StoreFamilies.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
namespace pid = format::pid;

constexpr std::uint32_t kInbox = 0x9002;
// Identifiers that a builder never hands out by itself.
constexpr std::uint32_t kNid = 0x7F05F;
constexpr std::uint32_t kMessageNid = 0x7F064;
constexpr std::uint64_t kData = 0x70000;
constexpr std::uint64_t kTree = 0x70006, kOtherTree = 0x7000A;
constexpr std::uint64_t kSubnodes = 0x7000E;

StoreMessage Victim()
{
    return Mail(u"Victim", u"Ada Brook", u"Text", FileTime(2020, 1, 1));
}

/// An attachment whose bytes are what a data tree of that BID gives.
StoreAttachment FromTree(std::uint64_t bid, const std::u16string& name = u"tree.bin")
{
    StoreAttachment attachment{.fileName = name};
    attachment.properties = {Behind(pid::kAttachDataBinary, PropertyType::Binary, kNid)};
    attachment.subnodes = {{kNid, bid, 0}};
    return attachment;
}

StoreAttachment Embed(std::shared_ptr<StoreMessage> message)
{
    StoreAttachment attachment = tests::Embed(std::move(message), u"mail");
    attachment.shareEmbedded = true;
    return attachment;
}

/// An attached message that is what two BIDs say.
StoreAttachment EmbedBlocks(std::uint64_t bidData, std::uint64_t bidSub)
{
    StoreAttachment attachment = Embed(nullptr);
    StoreProperty object{.id = pid::kAttachDataBinary, .type = PropertyType::Object, .value = Bytes(8)};
    format::StoreLE(std::span(object.value), 0, kMessageNid);
    attachment.properties.push_back(std::move(object));
    attachment.subnodes = {{kMessageNid, bidData, bidSub}};
    return attachment;
}

void FileWithoutBounds(StoreDescription& store, StoreMessage& victim)
{
    store.atStart = [](CStoreFile& file) {
        const std::uint64_t leaf = file.WriteBlock(Bytes(3000, std::byte{'x'}));
        const std::vector<std::uint64_t> once = {leaf, leaf};
        file.WriteDataTreeBlock(1, 0xFFFFFFFF, once, {.bid = kTree});
        // A million times one block.
        const std::vector<std::uint64_t> often(1000, leaf);
        const std::uint64_t list = file.WriteDataTreeBlock(1, 0xFFFFFFFF, often, {});
        file.WriteDataTreeBlock(2, 0xFFFFFFFF, std::vector<std::uint64_t>(1000, list), {.bid = kOtherTree});
    };
    victim.attachments = {
        FromTree(kTree), FromTree(kOtherTree), {.fileName = u"size.bin", .data = Bytes(60, std::byte{'s'})}};
    victim.attachments[2].properties = {Number(pid::kAttachSize, 0xFFFFFFFF)};
    victim.properties.push_back(Number(pid::kMessageSize, 0xFFFFFFFF));
    StoreProperty texts = Texts(0, {u"a"});
    format::StoreLE(std::span(texts.value), 0, 0xFFFFFFFFu);
    victim.named.push_back({{format::propset::kCommon, 0x8539, {}}, texts});
}

void MessageThatContainsItself(StoreDescription&, StoreMessage& victim)
{
    victim.dataBid = kData;
    victim.subnodesBid = kSubnodes;
    victim.attachments = {EmbedBlocks(kData, kSubnodes), EmbedBlocks(kData, kSubnodes),
                          EmbedBlocks(kData + 1, kSubnodes)};
}

/// Two attachments on each of thirty levels, both the same message: 2^30 of them to one who follows all.
void FanOut(StoreDescription&, StoreMessage& victim)
{
    auto inner = std::make_shared<StoreMessage>(Mail(u"Innermost", u"Ada", u"Text", FileTime(2020, 1, 1)));
    for (int level = 0; level < 30; ++level) {
        auto outer = std::make_shared<StoreMessage>(Mail(u"Level", u"Ada", u"Text", FileTime(2020, 1, 1)));
        outer->attachments = {Embed(inner), Embed(inner)};
        inner = outer;
    }
    victim.attachments = {Embed(inner), Embed(inner)};
}

void OddAttachments(StoreDescription&, StoreMessage& victim)
{
    StoreAttachment bare;
    bare.omitted = {pid::kAttachSize, pid::kAttachFilename, pid::kAttachMethod, pid::kAttachLongFilename,
                    pid::kRenderingPosition};
    StoreAttachment noMessage = EmbedBlocks(0xFFFF0, 0xFFFF2);
    StoreAttachment noMethod{
        .fileName = u"m.bin", .data = Bytes(80, std::byte{'m'}), .omitted = {pid::kAttachMethod}};
    StoreAttachment oddMethod{.fileName = u"o.bin", .data = Bytes(80, std::byte{'o'}), .method = 0xFFFFFFFF};
    StoreAttachment shortObject = Embed(nullptr);
    shortObject.properties.push_back(
        {.id = pid::kAttachDataBinary, .type = PropertyType::Object, .value = Bytes(1)});
    StoreAttachment numberName{.fileName = u"n", .data = Bytes(80, std::byte{'n'})};
    numberName.properties = {Number(pid::kAttachLongFilename, 7), Number(pid::kAttachFilename, 7),
                             Number(pid::kDisplayName, 7)};
    victim.attachments = {bare, noMessage, noMethod, oddMethod, shortObject, numberName};
}

void HalfCharactersAndFarDates(StoreDescription&, StoreMessage& victim)
{
    victim.properties.push_back(Text(pid::kDisplayCc, u"\xD83D half"));
    victim.properties.push_back(Text(pid::kDisplayBcc, u"half \xDE00"));
    victim.properties.push_back(Time(pid::kClientSubmitTime, 0));
    victim.properties.push_back(Time(pid::kMessageDeliveryTime, ~std::uint64_t{0}));
    StoreProperty shortTime = Time(0, 1);
    shortTime.value.resize(3);
    victim.named.push_back({{format::propset::kTask, 0x8105, {}}, shortTime});
}

// Whatever is wrong with the name map, values of fixed ids come back.

void NoNames(StoreDescription& store, StoreMessage&)
{
    store.editNames = [](NameStreams& streams) { streams = {}; };
}

void NamesCutOff(StoreDescription& store, StoreMessage&)
{
    store.editNames = [](NameStreams& streams) { streams.entries.resize(streams.entries.size() / 2 + 3); };
}

void NamesOfOneId(StoreDescription& store, StoreMessage&)
{
    store.editNames = [](NameStreams& streams) {
        for (std::size_t at = 6; at < streams.entries.size(); at += 8)
            format::StoreLE(std::span(streams.entries), at, std::uint16_t{5});
    };
}

void NamesElsewhere(StoreDescription& store, StoreMessage&)
{
    store.editNames = [](NameStreams& streams) {
        for (std::size_t at = 0; at < streams.entries.size(); at += 8) {
            format::StoreLE(std::span(streams.entries), at, 0xFFFFFFF0u);
            format::StoreLE(std::span(streams.entries), at + 4, std::uint16_t{0xFFFF});
        }
    };
}

struct Hostile {
    const char* name;
    void (*make)(StoreDescription& store, StoreMessage& victim);
    friend void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.name; }
};

/// Most memory that the process ever held, in MB.
long PeakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

/// Repairs a store with a victim and with bystanders, who must come back whole.
void RepairAround(const Hostile& hostile, StoreDescription description)
{
    StoreMessage victim = Victim();
    hostile.make(description, victim);
    StoreMessage before = Mail(u"Before", u"Ben", u"Kept", FileTime(2020, 1, 1));
    StoreMessage after = Mail(u"After", u"Ben", u"Kept", FileTime(2020, 1, 1));
    before.attachments = after.attachments = {{.fileName = u"kept.bin", .data = Bytes(5000, std::byte{'k'})}};
    const FamilySample contact = MakeFamilySample(u"IPM.Contact");
    description.folders = {
        {.name = u"Inbox", .messages = {before, victim, after}, .nid = kInbox},
        {.name = u"Contacts", .containerClass = u"IPF.Contact", .messages = {contact.message}}};

    const long memory = PeakMemory();
    const auto start = std::chrono::steady_clock::now();
    const auto repair = RepairOf(description);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    EXPECT_LT(time.count(), 20.0);
    EXPECT_LT(PeakMemory() - memory, 400) << "MB";
    EXPECT_LT(std::filesystem::file_size(repair->state.outputPath), 40'000'000u);
    EXPECT_EQ(repair->Strangers(), std::vector<std::string>());

    std::vector<FoundItem> items = ReadNewStore(repair->state.outputPath);
    for (const char16_t* subject : {u"Before", u"After"}) {
        const FoundItem* const item = OfSubject(items, subject);
        EXPECT_NE(item, nullptr) << platform::ToUtf8(subject);
        if (item != nullptr && !item->attachments.empty()) {
            EXPECT_EQ(TextValue(item->values, pid::kBody), u"Kept");
            EXPECT_EQ(item->attachments[0].data, Bytes(5000, std::byte{'k'}));
        }
    }
    const auto contacts = OfClass(items, u"IPM.Contact");
    EXPECT_EQ(contacts.size(), 1u);
    for (const ExpectedValue& expected : contact.expected) {
        const FoundValue* const found =
            contacts.empty() || expected.id == 0 ? nullptr : FindValue(*contacts[0], expected.id);
        EXPECT_TRUE(expected.id == 0 || (found != nullptr && found->bytes == expected.value))
            << testing::PrintToString(expected);
    }
    EXPECT_TRUE(std::ranges::any_of(
        items, [](const FoundItem& item) { return TextValue(item.values, pid::kSubject) == u"Victim"; }));
}

class HostileMail : public testing::TestWithParam<Hostile> {};

TEST_P(HostileMail, CostsNothingOfOthers)
{
    for (const format::Variant variant : {format::Variant::Ansi, format::Variant::Unicode}) {
        StoreDescription description;
        description.format.variant = variant;
        RepairAround(GetParam(), std::move(description));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileMail,
                         testing::Values(Hostile{"FileWithoutBounds", FileWithoutBounds},
                                         Hostile{"MessageThatContainsItself", MessageThatContainsItself},
                                         Hostile{"FanOut", FanOut}, Hostile{"OddAttachments", OddAttachments},
                                         Hostile{"HalfCharactersAndFarDates", HalfCharactersAndFarDates},
                                         Hostile{"NoNames", NoNames}, Hostile{"NamesCutOff", NamesCutOff},
                                         Hostile{"NamesOfOneId", NamesOfOneId},
                                         Hostile{"NamesElsewhere", NamesElsewhere}),
                         [](const testing::TestParamInfo<Hostile>& tested) {
                             return std::string(tested.param.name);
                         });

const std::u16string kOddNames[] = {u"/",
                                    u"..",
                                    u".",
                                    u"../../escape",
                                    u"C:",
                                    u"con",
                                    u"a/b",
                                    u" ",
                                    u"tab\tand\nline",
                                    u"\u202Egnp.exe",
                                    u"name with \"quotes\" <and> |bars|?*",
                                    u"back\\slash",
                                    u"\\",
                                    u"",
                                    std::u16string(300, u'n'),
                                    std::u16string(32'000, u'x')};

TEST(OddContent, FolderNamesAreNeverHostPaths)
{
    StoreDescription description;
    for (const std::u16string& name : kOddNames) {
        StoreFolder folder{.name = name, .containerClass = u"IPF.Note"};
        folder.messages = {Mail(u"In an odd folder", u"Ada", u"Text", FileTime(2020, 1, 1))};
        folder.messages.front().label = "in " + platform::ToUtf8(name);
        description.folders.push_back(folder);
    }
    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    EXPECT_EQ(repair.Strangers(), std::vector<std::string>());
    EXPECT_EQ(AllItems(repair.ReadBack()), AllItems(Expected(description)));
}

}  // namespace
}  // namespace pastille::tests
