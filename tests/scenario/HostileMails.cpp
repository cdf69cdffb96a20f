#include "tests/scenario/HostileMails.h"

#include <sys/resource.h>

#include "format/Bytes.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
namespace pid = format::pid;

// Identifiers that a builder never hands out by itself.
constexpr std::uint32_t kNid = 0x7F05F;
constexpr std::uint32_t kMessageNid = 0x7F064;

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
        file.WriteDataTreeBlock(1, 0xFFFFFFFF, once, {.bid = kHostileTree});
        // A million times one block.
        const std::vector<std::uint64_t> often(1000, leaf);
        const std::uint64_t list = file.WriteDataTreeBlock(1, 0xFFFFFFFF, often, {});
        file.WriteDataTreeBlock(2, 0xFFFFFFFF, std::vector<std::uint64_t>(1000, list),
                                {.bid = kOtherHostileTree});
    };
    victim.attachments = {FromTree(kHostileTree),
                          FromTree(kOtherHostileTree),
                          {.fileName = u"size.bin", .data = Bytes(60, std::byte{'s'})}};
    victim.attachments[2].properties = {Number(pid::kAttachSize, 0xFFFFFFFF)};
    victim.properties.push_back(Number(pid::kMessageSize, 0xFFFFFFFF));
    StoreProperty texts = Texts(0, {u"a"});
    format::StoreLE(std::span(texts.value), 0, 0xFFFFFFFFu);
    victim.named.push_back({{format::propset::kCommon, 0x8539, {}}, texts});
}

void MessageThatContainsItself(StoreDescription&, StoreMessage& victim)
{
    victim.dataBid = kHostileData;
    victim.subnodesBid = kHostileSubnodes;
    victim.attachments = {EmbedBlocks(kHostileData, kHostileSubnodes),
                          EmbedBlocks(kHostileData, kHostileSubnodes),
                          EmbedBlocks(kHostileData + 1, kHostileSubnodes)};
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

}  // namespace

std::vector<Hostile> HostileMails()
{
    return {{"FileWithoutBounds", FileWithoutBounds},
            {"MessageThatContainsItself", MessageThatContainsItself},
            {"FanOut", FanOut},
            {"OddAttachments", OddAttachments},
            {"HalfCharactersAndFarDates", HalfCharactersAndFarDates},
            {"NoNames", NoNames},
            {"NamesCutOff", NamesCutOff},
            {"NamesOfOneId", NamesOfOneId},
            {"NamesElsewhere", NamesElsewhere}};
}

StoreAttachment FromTree(std::uint64_t bid, const std::u16string& name)
{
    StoreAttachment attachment{.fileName = name};
    attachment.properties = {Behind(pid::kAttachDataBinary, PropertyType::Binary, kNid)};
    attachment.subnodes = {{kNid, bid, 0}};
    return attachment;
}

const std::vector<std::u16string>& OddNames()
{
    static const std::vector<std::u16string> names = {u"/",
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
    return names;
}

long PeakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

}  // namespace pastille::tests
