#include "store/FolderProperties.h"

#include <gtest/gtest.h>

#include <random>

#include "format/Bytes.h"
#include "store/DataTree.h"
#include "store/HeapBlock.h"
#include "store/NamedProperties.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::Variant;

StoredProperty Value(const StoreProperty& property)
{
    return {property.type, property.value, property.hnid};
}

using Context = std::map<std::uint16_t, StoredProperty>;

const platform::CCodePage& CodePage()
{
    static const platform::CCodePage codePage("windows-1252");
    return codePage;
}

/// Reads a property context as a folder from a store that holds it.
std::optional<store::FolderProperties> Read(const std::vector<Bytes>& blocks, StoreFormat format = {})
{
    StoreDescription description;
    description.format = format;
    std::uint64_t bid = 0;
    description.beforeTrees = [&](CStoreFile& store) {
        for (const Bytes& block : blocks) {
            const std::uint64_t written = store.WriteBlock(block);
            bid = bid == 0 ? written : bid;
        }
    };
    CLoadedStore loaded{CBuiltStore(description)};
    EXPECT_TRUE(loaded.Detect(0x8022));
    return store::ReadFolderProperties(
        loaded.source.reader, *loaded.source.blocks.Find(static_cast<std::uint32_t>(bid)), CodePage());
}

std::optional<store::FolderProperties> Read(const Context& properties, StoreFormat format = {})
{
    return Read(BuildPropertyContext(properties).Finish(), format);
}

TEST(FolderProperties, WhatHasAMessageClassOrNoDisplayNameIsNoFolder)
{
    EXPECT_FALSE(Read(Context{{0x001A, Value(Text(0, u"IPM.Note"))}, {0x3001, Value(Text(0, u"Name"))}}));
    EXPECT_FALSE(Read(Context{{0x3602, Value(Number(0, 1))}, {0x3613, Value(Text(0, u"IPF.Note"))}}));
    EXPECT_FALSE(Read(Context{{0x3602, Value(Number(0, 1))}}));
}

TEST(FolderProperties, ANameThatIsNoTextIsEmptyButTheFolderStays)
{
    std::u16string noise;
    for (int i = 0; i < 20; ++i)
        noise += {static_cast<char16_t>(0xDC00 + 0x31 * i), char16_t{0xFFFF}, static_cast<char16_t>(i + 1)};
    const auto folder = Read(Context{{0x3001, Value(Text(0, noise))}, {0x3613, Value(Text(0, u"IPF.Note"))}});
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->name, u"");
    EXPECT_EQ(folder->containerClass, u"IPF.Note");
    for (const std::u16string_view name : {u"Inbox", u"A", u"Posteingang (2)", u"Входящие", u"受信トレイ"})
        EXPECT_EQ(Read(Context{{0x3001, Value(Text(0, name))}})->name, name);
}

TEST(FolderProperties, ValuesOutsideTheFirstBlockAreOutOfRange)
{
    CHeapBuilder heap(0xBC, 8176, 16);
    Bytes header{std::byte{0xB5}, std::byte{2}, std::byte{6}, std::byte{0}};
    header.resize(8);
    format::StoreLE(std::span(header), 4, 0x40u);
    heap.SetUserRoot(heap.Add(header));
    Bytes record(8);
    format::StoreLE(std::span(record), 0, std::uint16_t{0x3001});
    format::StoreLE(std::span(record), 2, std::uint16_t{0x1F});
    format::StoreLE(std::span(record), 4, 0x10020u);
    heap.Add(record);
    heap.NextBlock();
    ASSERT_EQ(heap.Add(Text(0, u"Elsewhere").value), 0x10020u);
    EXPECT_FALSE(Read(heap.Finish()));
}

TEST(FolderProperties, OstFilesTakeEveryHeapSignature)
{
    Bytes block = BuildPropertyContext({{0x3001, Value(Text(0, u"Name"))}}).Finish().front();
    for (const int client : {0xBC, 0x7C, 0x8C, 0xEC, 0xA5}) {
        block[3] = static_cast<std::byte>(client);
        StoreFormat format;
        EXPECT_EQ(Read({block}, format).has_value(), client == 0xBC);
        format.ost = true;
        EXPECT_EQ(Read({block}, format).has_value(), client != 0xA5);
    }
}

TEST(FolderProperties, EveryCheckOfTheHeapRefusesTheBlock)
{
    const Bytes sound =
        BuildPropertyContext({{0x3001, Value(Text(0, u"Name"))}, {0x3613, Value(Text(0, u"IPF.Task"))}})
            .Finish()
            .front();
    ASSERT_TRUE(Read({sound}));
    const std::size_t map = format::LoadLE<std::uint16_t>(sound, 0);
    struct Change {
        const char* what;
        std::size_t at;
        std::uint16_t value;
    };
    const auto end = static_cast<std::uint16_t>(sound.size());
    for (const Change& change :
         {Change{"page map outside", 0, 0xFFF0}, Change{"page map at the end", 0, end},
          Change{"user root outside", 4, 0x7FE0}, Change{"user root's block outside", 6, 1},
          Change{"header not of 8 bytes", map + 6, 18}, Change{"records outside", 16, 0x7FE0},
          Change{"no records", 16, 0}, Change{"records end before they begin", map + 8, 4},
          Change{"name outside", 24, 0x7FE0}, Change{"name in another block", 26, 3},
          Change{"class outside", 32, 0x7FE0}, Change{"allocation beyond the block", map + 12, end}}) {
        Bytes block = sound;
        format::StoreLE(std::span(block), change.at, change.value);
        if (change.at == map + 12)
            format::StoreLE(std::span(block), change.at, static_cast<std::uint16_t>(end + 1));
        EXPECT_FALSE(Read({block})) << change.what;
    }
}

using format::CNamedPropertyMap;

Bytes NameId(std::uint32_t lid, std::uint16_t guidAndKind, std::uint16_t index)
{
    Bytes record(8);
    format::StoreLE(std::span(record), 0, lid);
    format::StoreLE(std::span(record), 4, guidAndKind);
    format::StoreLE(std::span(record), 6, index);
    return record;
}

bool Add(CNamedPropertyMap& map, const Bytes& record)
{
    return store::AddNamedPropertyRecord(map, format::CByteView(record));
}

TEST(NamedPropertyRecords, OnlyNumericNamesInRangeCount)
{
    CNamedPropertyMap map;
    for (const auto& [lid, taken] : {std::pair<std::uint32_t, bool>{0x8000, false},
                                     {0x8001, true},
                                     {0x8FFE, true},
                                     {0x8FFF, false},
                                     {0x9000, false},
                                     {0x0003, false},
                                     {0x18002, false}})
        EXPECT_EQ(Add(map, NameId(lid, 6, static_cast<std::uint16_t>(lid & 0xFFF))), taken) << lid;
    EXPECT_FALSE(Add(map, NameId(0x8005, 7, 5))) << "a string name";
    EXPECT_FALSE(Add(map, Bytes(7, std::byte{0x81}))) << "cut off";
    EXPECT_EQ(map.FindLid(0x8001), 0x8001u);
    EXPECT_EQ(map.FindLid(0x8FFE), 0x8FFEu);
    EXPECT_EQ(map.FindLid(0x8005), std::nullopt);
}

TEST(NamedPropertyRecords, RepeatsAddNothing)
{
    CNamedPropertyMap map;
    EXPECT_TRUE(Add(map, NameId(0x8205, 6, 0)));
    EXPECT_FALSE(Add(map, NameId(0x8205, 6, 1))) << "the same long id";
    EXPECT_FALSE(Add(map, NameId(0x8206, 6, 0))) << "the same property id";
    EXPECT_TRUE(Add(map, NameId(0x8206, 8, 1))) << "the property set does not matter";
    EXPECT_EQ(map.FindLid(0x8000), 0x8205u);
    EXPECT_EQ(map.FindLid(0x8001), 0x8206u);
}

TEST(NamedPropertyRecords, GroupsWithoutKeyZeroTakeNoPairs)
{
    CNamedPropertyMap map;
    CNamedPropertyMap::Group group;
    group.key = 3;
    map.AddGroup(group);
    EXPECT_FALSE(Add(map, NameId(0x8205, 6, 0)));
    group.key = 0;
    map.AddGroup(group);
    EXPECT_TRUE(Add(map, NameId(0x8205, 6, 0)));
}

/// Names of a store with `count` numeric names in two sets and some string names between them.
void ExpectNames(format::Variant variant, bool ost, std::uint32_t count, bool loseHeap)
{
    SCOPED_TRACE(testing::Message() << VariantName(variant) << " " << count);
    StoreDescription description;
    description.format = FormatOf(variant, ost);
    StoreMessage message;
    for (std::uint32_t i = 0; i < count; ++i) {
        const format::Guid& set = i % 2 == 0 ? format::propset::kCommon : format::propset::kAppointment;
        message.named.push_back({{set, 0x8001 + i}, Number(0, i)});
        if (i % 5 == 0)
            message.named.push_back(
                {{format::propset::kPublicStrings, 0, u"Name" + std::u16string(1 + i % 7, u'x')},
                 Number(0, i)});
    }
    description.messages = {message};
    CBuiltStore built(description);
    if (loseHeap)
        built.Damage().EditBlock("name map/data",
                                 [](std::span<std::byte> block) { block[2] = std::byte{0}; });
    CLoadedStore loaded(built);
    ASSERT_TRUE(loaded.Detect(0x8022));
    const auto* node = loaded.Node(0x61);
    ASSERT_NE(node, nullptr);
    CNamedPropertyMap map;
    store::ReadNamedProperties(loaded.source.reader, node->bidData, node->bidSub, map);
    // The first name of the map stands for the store itself; the others follow in the order of their use.
    std::uint32_t id = 0x8001;
    std::uint32_t strings = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (0x8001 + i != 0x8580) {
            EXPECT_EQ(map.FindLid(id), 0x8001 + i) << i;
        }
        ++id;
        if (i % 5 == 0 && strings < 7 && i / 5 == strings) {
            EXPECT_EQ(map.FindLid(id), std::nullopt) << "a string name has no long id";
            ++strings;
            ++id;
        }
    }
}

TEST(NamedProperties, ManyNamesLieInSubnodes)
{
    for (const format::Variant variant : kAllVariants)
        ExpectNames(variant, false, 900, false);
}

TEST(NamedProperties, OfASmallMapNoneIsLostToASetThatIsNotKnown)
{
    StoreDescription description;
    StoreMessage message;
    const format::Guid unknown{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    message.named = {{{unknown, 0x9000}, Number(0, 1)},
                     {{format::propset::kAppointment, 0x820D}, Number(0, 2)}};
    description.messages = {message};
    CLoadedStore loaded{CBuiltStore(description)};
    ASSERT_TRUE(loaded.Detect(0x8022));
    const auto* node = loaded.Node(0x61);
    ASSERT_NE(node, nullptr);
    CNamedPropertyMap map;
    store::ReadNamedProperties(loaded.source.reader, node->bidData, node->bidSub, map);
    EXPECT_EQ(map.FindLid(0x8002), 0x820D);
}

TEST(NamedProperties, ALostHeapLeavesTheNamesInTheSubnodes)
{
    ExpectNames(format::Variant::Unicode, false, 900, true);
}

}  // namespace
}  // namespace pastille::tests
