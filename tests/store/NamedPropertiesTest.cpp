#include "store/NamedProperties.h"

#include <gtest/gtest.h>

#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

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
    description.format.variant = variant;
    description.format.ost = ost;
    if (variant == format::Variant::Unicode4k)
        description.format.crypt = format::CryptMethod::None;
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

TEST(NamedProperties, AFewNamesLieInTheHeap)
{
    for (const format::Variant variant : kAllVariants) {
        ExpectNames(variant, false, 30, false);
        ExpectNames(variant, true, 30, false);
    }
}

TEST(NamedProperties, ManyNamesLieInSubnodes)
{
    for (const format::Variant variant : kAllVariants)
        ExpectNames(variant, false, 900, false);
}

TEST(NamedProperties, ALostHeapLeavesTheNamesInTheSubnodes)
{
    ExpectNames(format::Variant::Unicode, false, 900, true);
}

}  // namespace
}  // namespace pastille::tests
