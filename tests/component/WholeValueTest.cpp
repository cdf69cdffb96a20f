#include "tests/component/WholeItemFixture.h"

namespace pastille::tests::whole {
namespace {

class WholeValues : public CWholeFixture {};

/// A list of values of varying length. [MS-PST] 2.3.3.4.2
std::string ListOf(const std::vector<std::string>& elements)
{
    std::string head = Number(static_cast<std::uint32_t>(elements.size())), data;
    for (const std::string& element : elements) {
        head += Number(static_cast<std::uint32_t>(4 + 4 * elements.size() + data.size()));
        data += element;
    }
    return head + data;
}

TEST_F(WholeValues, ValuesOfEveryTypeAreKeptToTheByte)
{
    const std::string nul(1, '\0');
    const std::map<std::uint32_t, std::string> values{
        {0x60000002, "ab"},
        {0x60010003, "abcd"},
        {0x60020004, "\xFF\xFF\xFF\x7F"},
        {0x60030005, "abcdefgh"},
        {0x60040006, "currency"},
        {0x60050007, "apptime."},
        {0x6006000A, Number(0x8004010F)},
        {0x6007000B, "\x01"},
        {0x6008000B, nul},
        {0x60090014, "int64..."},
        {0x600A001E, "8-bit\xE4"},
        {0x600B001F, Wide("a") + Wide(nul) + Wide("b")},
        {0x600C001F, ""},
        {0x600D0040, "filetime"},
        {0x600E0048, "0123456789ABCDEF"},
        {0x600F00FB, "server id"},
        {0x601000FD, "restriction"},
        {0x601100FE, "rule action"},
        {0x60120102, std::string("\0\1\2\xFF", 4)},
        {0x60130102, ""},
        {0x60140102, std::string(3580, 'h')},
        {0x60150102, std::string(3581, 's')},
        {0x6016001F, Wide(std::string(30000, 'w'))},
        {0x60170102, std::string(8'500'000, 'x')},
        {0x60181002, "abcd"},
        {0x60191003, ""},
        {0x601A1004, "abcd"},
        {0x601B1005, "abcdefgh"},
        {0x601C1006, "abcdefgh"},
        {0x601D1007, "abcdefgh"},
        {0x601E1014, "abcdefghabcdefgh"},
        {0x601F101E, ListOf({"one", "", "three"})},
        {0x6020101F, ListOf({Wide("one"), Wide("two")})},
        {0x60211040, "abcdefgh"},
        {0x60221048, std::string(32, 'g')},
        {0x60231102, ListOf({std::string(5000, 'a'), "b"})},
        {0x60241102, ListOf({})},
    };
    const auto given = NewMessage();
    const auto streamed = NewMessage();
    for (const auto& [tag, bytes] : values) {
        EXPECT_TRUE(Put(*given, tag, bytes)) << std::hex << tag;
        EXPECT_TRUE(PutStream(*streamed, tag, bytes)) << std::hex << tag;
    }
    EXPECT_TRUE(Put(*given, 0x60010040, "retyped!"));
    EXPECT_TRUE(Put(*given, 0x6025000B, "\x05"));
    given->Save();
    streamed->Save();

    auto finished = Finish();
    const auto messages = finished.NodesOf(NidType::NormalMessage);
    ASSERT_EQ(messages.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        auto stored = finished.Values(messages[i]);
        for (const auto& [tag, bytes] : values) {
            const bool isRetyped = i == 0 && tag == 0x60010003;
            const auto expected =
                isRetyped ? Stored{PropertyType::Time, "retyped!"} : Stored{Tag(tag).type, bytes};
            EXPECT_TRUE(stored[Tag(tag).id] == expected) << std::hex << tag;
        }
        EXPECT_EQ(stored[pid::kMessageClass].bytes, Wide("IPM.Post.Other"));
        EXPECT_EQ(stored.size(), values.size() + 6 + (i == 0 ? 1 : 0)) << "and PidTagMessageSize";
    }
    EXPECT_EQ(finished.Values(messages[0])[0x6025].bytes, "\x01");
}

TEST_F(WholeValues, WhatIsNoValueOfItsTypeIsRefused)
{
    for (const std::uint32_t tag : {0x60000002, 0x60010003, 0x60020004, 0x60030005, 0x6006000A, 0x6007000B,
                                    0x60090014, 0x600D0040, 0x600E0048, 0x60181002, 0x601E1014, 0x60221048}) {
        EXPECT_EQ(ErrorOfSetting(tag, "seventeen bytes.."), E_INVALIDARG) << std::hex << tag;
        EXPECT_EQ(ErrorOfSetting(tag, std::string(5001, 'x')), E_INVALIDARG) << std::hex << tag;
    }
    EXPECT_EQ(ErrorOfSetting(0x600B001F, "odd"), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x600B001F, std::string(9001, 'x')), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x6020101F, ListOf({"odd"})), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x6020101F, Number(7)), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x60231102, Number(70000) + std::string(9000, 'x')), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x60000001, "abcd"), E_INVALIDARG) << "a type that no property has";
    EXPECT_EQ(ErrorOfSetting(0x60001102 | 0x2000, ListOf({})), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0xFF000003, Number(1)), E_INVALIDARG) << "an id without a name";
}

TEST_F(WholeValues, WhatTheStoreKeepsItselfIsNotOverwritten)
{
    const auto message =
        NewMessage(false, 0x59);  // unsent, and what does not fit it: associated, attachments
    const auto attachment = message->AddAttachment();
    const auto recipient = message->AddRecipient();
    struct Refused {
        IPropertyTarget& target;
        std::vector<std::uint32_t> tags;
    };
    const std::vector<Refused> refused{
        {*message,
         {0x0E080003, 0x0E1B000B, 0x0FFF0102, 0x0FF90102, 0x0E090102, 0x0FFB0102, 0x67F20003, 0x67F30003,
          0x6000000D}},
        {*attachment, {0x0E200003, 0x0E210003, 0x0FF90102, 0x67F20003, 0x3701000D}},
        {*recipient, {0x67F20003, 0x67F30003, 0x3001001E, 0x6000000D}},
        {*wholeFolder,
         {0x3001001F, 0x36020003, 0x36030003, 0x360A000B, 0x66350003, 0x66360003, 0x36D00102, 0x36D81102,
          0x0FFF0102, 0x67F30003, 0x3613001E}},
    };
    const std::map<std::uint16_t, std::string> sample{{0x000B, "\x01"}, {0x000D, "12345678"}};
    for (const Refused& entry : refused)
        for (const std::uint32_t tag : entry.tags) {
            const auto special = sample.find(static_cast<std::uint16_t>(tag));
            const std::string value = special != sample.end() ? special->second : ListOf({});
            EXPECT_FALSE(Put(entry.target, tag, value)) << std::hex << tag;
            EXPECT_FALSE(PutStream(entry.target, tag, value)) << std::hex << tag;
        }
    EXPECT_TRUE(Put(*recipient, 0x0FFF0102, "an address"));
    EXPECT_TRUE(Put(*recipient, 0x0FF90102, "a key of it"));
    message->Save();

    auto finished = Finish();
    const NodeRecord node = finished.NodesOf(NidType::NormalMessage).at(0);
    EXPECT_EQ(finished.Values(node)[pid::kMessageFlags].bytes, Number(0x09));
    EXPECT_EQ(finished.Recipients(node).at(0)[0x0FFF].bytes, "an address");
    EXPECT_EQ(finished.Values(finished.Folder("Brought"))[pid::kContentCount].bytes, Number(1));
}

TEST_F(WholeValues, ObjectsThatWereSavedTakeNoMore)
{
    const auto message = NewMessage();
    const auto attachment = message->AddAttachment();
    const auto inner = attachment->AddMessage();
    attachment->Save();
    EXPECT_EQ(ErrorOf([&] { inner->Save(); }).first, E_INVALIDARG) << "its attachment is written already";
    const auto late = message->AddAttachment();
    const auto recipient = message->AddRecipient();
    message->Save();
    EXPECT_EQ(ErrorOf([&] { message->Save(); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { late->Save(); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { message->AddAttachment(); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { Put(*recipient, 0x3001001F, Wide("x")); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { Put(*message, 0x0037001F, Wide("x")); }).first, E_INVALIDARG);
    NewMessage();  // never saved
    EXPECT_EQ(Finish().NodesOf(NidType::NormalMessage).size(), 1u);
}

TEST_F(WholeValues, StoresOpenedForReadingTakeNothing)
{
    Reopen();
    const auto brought = QueryInterface<IWholeFolder>(FindFolder(root, u"Brought"));
    const auto names = QueryInterface<IPropertyNames>(store);
    EXPECT_EQ(ErrorOf([&] { brought->AddMessage(false); }),
              std::pair(E_ACCESSDENIED, IWholeFolder::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { Put(*brought, 0x3004001F, Wide("x")); }),
              std::pair(E_ACCESSDENIED, IPropertyTarget::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] {
                  names->GetPropertyId({format::propset::kTask, 0x8101, {}});
              }),
              std::pair(E_ACCESSDENIED, IPropertyNames::kInterfaceId));
}

TEST_F(WholeValues, NamedPropertiesKeepTheirNames)
{
    const format::Guid own{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
    const std::vector<format::PropertyName> names{{own, 0x1234, {}},
                                                  {own, 0, u"a name"},
                                                  {format::propset::kMapi, 0, u"a name"},
                                                  {format::propset::kPublicStrings, 0, u"Keywords"},
                                                  {format::propset::kTask, 0x8101, {}}};
    const auto map = QueryInterface<IPropertyNames>(store);
    const auto message = NewMessage();
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::uint16_t id = map->GetPropertyId(names[i]);
        EXPECT_EQ(map->GetPropertyId(names[i]), id);
        EXPECT_TRUE(Put(*message, std::uint32_t{id} << 16 | 3, Number(static_cast<std::uint32_t>(i))));
    }
    message->Save();
    auto finished = Finish();
    const auto stored = component::pst::CNameMap::Decode(
        CPropertyReader(finished.Database(), *finished.Database().FindNode(format::nids::kNameToIdMap))
            .ReadAll(kAnySize));
    auto values = finished.Values(finished.NodesOf(NidType::NormalMessage).at(0));
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(values[stored.Find(names[i]).value()].bytes, Number(static_cast<std::uint32_t>(i)));
}

}  // namespace
}  // namespace pastille::tests::whole
