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

}  // namespace
}  // namespace pastille::tests
