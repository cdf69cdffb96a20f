#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "component/pst/messaging/Attachment.h"
#include "component/pst/messaging/NameMap.h"
#include "format/Bytes.h"
#include "format/Guid.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::Guid;

std::string Hex(const PropertyValue* value)
{
    std::string text;
    for (const std::byte b : value ? value->bytes : std::vector<std::byte>()) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X", std::to_integer<unsigned>(b));
        text += digits;
    }
    return text;
}

// The first name of a real store: LID 0x8205 of PSETID_Appointment, in bucket 151.
TEST(MessagingNameMap, HasTheBytesOfARealMap)
{
    CNameMap map;
    EXPECT_EQ(map.FindOrAdd({format::propset::kAppointment, 0x8205, {}}), 0x8000);
    EXPECT_EQ(map.FindOrAdd({format::propset::kPublicStrings, 0, u"Keywords"}), 0x8001);
    const auto bag = map.Encode();
    EXPECT_EQ(Hex(bag.Find(0x0001)), "FB000000");
    EXPECT_EQ(Hex(bag.Find(0x0002)), "0220060000000000C000000000000046");
    EXPECT_EQ(Hex(bag.Find(0x0003)),
              "0582000006000000"
              "0000000005000100");
    EXPECT_EQ(Hex(bag.Find(0x0004)),
              "10000000"
              "4B006500790077006F00720064007300");
    EXPECT_EQ(Hex(bag.Find(0x1097)), "0582000006000000");
    EXPECT_EQ(bag.Values().size(), 6u) << "the string name is in one bucket more";
}

TEST(MessagingNameMap, ComesBackFromItsBytesAndGrows)
{
    std::vector<PropertyName> names{
        {format::propset::kMapi, 1, {}}, {Guid{}, 7, {}}, {format::propset::kInternetHeaders, 0, u"x-odd"}};
    for (std::uint32_t lid = 0; lid < 3000; ++lid)
        names.push_back({format::propset::kCommon, lid, {}});
    for (const char16_t c : std::u16string(u"abc"))
        names.push_back({format::propset::kPublicStrings, 0, std::u16string(1000, c)});
    CNameMap map;
    for (const auto& name : names)
        map.FindOrAdd(name);
    auto copy = CNameMap::Decode(map.Encode());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(copy.Find(names[i]), 0x8000 + i);
    EXPECT_EQ(copy.FindOrAdd(names[5]), 0x8005) << "a known name keeps its id";
    EXPECT_EQ(copy.FindOrAdd({format::propset::kTask, 1, {}}), 0x8000 + names.size());
}

TEST(MessagingNameMap, EndsWithItsIdsAndBearsDamage)
{
    CNameMap map;
    for (std::uint32_t lid = 0; lid < 0x7FFF; ++lid)
        ASSERT_EQ(map.FindOrAdd({format::propset::kCommon, lid, {}}), 0x8000 + lid);
    EXPECT_EQ(map.FindOrAdd({format::propset::kCommon, 0x7FFF, {}}), std::nullopt);

    CNameMap few;
    few.FindOrAdd({format::propset::kTask, 1, {}});
    few.FindOrAdd({format::propset::kPublicStrings, 0, u"name"});
    auto bag = few.Encode();
    bag.Remove(0x0002);
    bag.Set(BinaryValue(0x0004, std::vector<std::byte>(3)));
    auto damaged = CNameMap::Decode(bag);
    EXPECT_EQ(damaged.Find({format::propset::kTask, 1, {}}), std::nullopt);
    EXPECT_EQ(damaged.Find({format::propset::kPublicStrings, 0, u"name"}), std::nullopt);
    EXPECT_EQ(damaged.FindOrAdd({format::propset::kTask, 1, {}}), 0x8002) << "ids of lost names stay taken";
}

TEST(MessagingShortFileName, HasAtMostEightAndThreePlainCharacters)
{
    for (const auto& [name, expected] :
         std::vector<std::pair<std::u16string, std::u16string>>{{u"a.txt", u"a.txt"},
                                                                {u"longer name.html", u"longer~1.htm"},
                                                                {u"exactly8.doc", u"exactly8.doc"},
                                                                {u"", u"ATTACH~1"},
                                                                {u".profile", u"ATTACH~1.pro"},
                                                                {u"\u6F22.txt", u"ATTACH~1.txt"},
                                                                {u"a.b.c", u"ab~1.c"},
                                                                {u"../x", u"x"},
                                                                {u"..\\dir.d/a b.c", u"ab~1.c"},
                                                                {u"dir.d/..", u"ATTACH~1"}})
        EXPECT_EQ(ShortFileName(name), expected);
}

}  // namespace
}  // namespace pastille::tests
