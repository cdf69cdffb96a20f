#include "tests/scenario/HostileStores.h"

#include <algorithm>

#include "format/Bytes.h"
#include "tests/scenario/HostileMails.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
using format::StoreLE;
using format::Variant;
namespace pid = format::pid;

constexpr std::uint64_t kNewestPage = 0x2000000;  ///< BID that looks newer than that of any page

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

constexpr auto kNoDamage = HostileStore::DoNothing;

}  // namespace

std::vector<HostileStore> HostileStores()
{
    return {
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
        {"APageThatNamesItself", Nothing,
         [](CStoreDamage& d, const CBuiltStore&) { d.PointPageAtItself(0); }},
        {"TreesInCircles", TreesInCircles, kNoDamage},
        {"BlocksThatAreNotThere", Nothing,
         [](CStoreDamage& d, const CBuiltStore&) {
             d.SetNode({kVictim, 0xFFFF0, 0xFFFF2, kInbox});
         }},
        {"ANodeWithAnothersBlocks", Nothing,
         [](CStoreDamage& d, const CBuiltStore& store) {
             const StoreDirectory& known = store.Directory();
             d.SetNode({kVictim, known.Find("folder Inbox/contents/data").bid, known.Find("Victim/data").bid,
                        kInbox});
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
        {"AHeapOfOnes", Nothing,
         [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/data", 0xFF); }},
        {"AHeapOfZeros", Nothing, [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/data", 0); }},
        {"AHeapOfTwos", Nothing,
         [](CStoreDamage& d, const CBuiltStore&) { EditAll(d, "Victim/data", 0x02); }},
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
}

}  // namespace pastille::tests
