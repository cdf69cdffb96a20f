#include <gtest/gtest.h>

#include "platform/Text.h"
#include "recovery/AttachmentName.h"
#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;
using enum format::Variant;

std::string Pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 % 251 + i / 1000);
    return bytes;
}

StoreMessage With(std::u16string messageClass, std::vector<StoreAttachment> attachments)
{
    StoreMessage item = Mail(u"subject", u"f", u"b", 0);
    item.messageClass = std::move(messageClass);
    item.attachments = std::move(attachments);
    return item;
}

/// A file without the names that the builder writes, with these properties.
StoreAttachment Unnamed(std::vector<StoreProperty> properties)
{
    StoreAttachment attachment = File(u"", "bytes");
    attachment.properties = std::move(properties);
    attachment.omitted = {pid::kAttachFilename, pid::kAttachLongFilename, pid::kAttachMethod};
    for (const StoreProperty& property : attachment.properties)
        std::erase(attachment.omitted, property.id);
    return attachment;
}

TEST(Attachments, NamesComeFromThePropertiesInTheirOrder)
{
    const auto display = [](std::u16string_view text) { return Text(pid::kDisplayName, text); };
    const auto shortName = [](std::u16string_view text) { return Text(pid::kAttachFilename, text); };
    const auto longName = [](std::u16string_view text) { return Text(pid::kAttachLongFilename, text); };
    const StoreProperty byValue = Number(pid::kAttachMethod, 1);
    const std::u16string overlong(300, u'n');
    struct Case {
        std::vector<StoreProperty> properties;
        std::u16string fileName;  ///< none: no attachment
        std::u16string displayName;
    };
    const Case cases[] = {
        {{display(u"Plan: draft?"), shortName(u"PLAN~1.TXT"), longName(u"plan.txt")},
         u"plan.txt",
         u"Plan  draft "},
        {{shortName(u"PLAN~1.TXT"), longName(u"plan.txt")}, u"PLAN~1.TXT", u"PLAN~1.TXT"},
        {{display(u"Plan"), shortName(u"PLAN~1.TXT"), byValue}, u"Plan", u"Plan"},
        {{display(u"../../etc/x"), longName(u"../../etc/passwd")}, u"../../etc/passwd", u".. .. etc x"},
        {{display(u"CON"), longName(u"a:b?.txt")}, u"a:b?.txt", u"a:b?.txt"},
        {{display(overlong), longName(u"long.txt")}, u"long.txt", u"long.txt"},
        {{display(u"Untitled Attachment"), longName(u"u.txt")}, u"u.txt", u"u.txt"},
        {{display(u"Untitled Attachment"), byValue}, u"Untitled Attachment", u"Untitled Attachment"},
        {{display(u"NUL"), byValue}, u"NUL", u"NUL"},
        {{display(u"NUL"), shortName(u"N.TXT"), byValue}, u"N.TXT", u"N.TXT"},
        {{longName(u"only the long one.txt"), byValue}, u"only the long one.txt", u"only the long one.txt"},
        {{display(u"Object"), Number(pid::kAttachMethod, 6)}, u"Object", u"Object"},
        {{byValue}, u"Untitled Attachment", u"Untitled Attachment"},
        {{display(u"picture")}, u"picture", u"picture"},  // its bytes lie in the heap: no message
        {{longName(u"never looked for")}, u"", u""},
    };
    for (const Case& one : cases) {
        CRecoveredStore scenario(InInbox({With(u"IPM.Note", {Unnamed(one.properties)})}));
        const auto& attachments = scenario.OnlyItem(u"\\Inbox").attachments;
        ASSERT_EQ(attachments.size(), one.fileName.empty() ? 0u : 1u) << platform::ToUtf8(one.fileName);
        if (attachments.empty())
            continue;
        EXPECT_EQ(attachments[0].fileName, one.fileName);
        EXPECT_EQ(attachments[0].displayName, one.displayName);
        EXPECT_EQ(attachments[0].bytes, "bytes");
        EXPECT_EQ(scenario.CountInLog(u"\r\nAttachment File Name: " + one.fileName + u"\r\nStatus"), 1u);
        EXPECT_EQ(scenario.CountInLog(u"Attached Embedded Message"), 0u);
    }
}

TEST(Attachments, NamesKeepToTheirLineOfTheLog)
{
    const std::u16string name = u"a\r\nStatus: Recovered\xD800.txt";
    CRecoveredStore scenario(InInbox({With(u"IPM.Note", {File(name, "bytes")})}));
    EXPECT_EQ(scenario.OnlyItem(u"\\Inbox").attachments.at(0).fileName, name) << "data";
    EXPECT_EQ(scenario.CountInLog(u"\r\nAttachment File Name: a  Status: Recovered\xFFFD.txt\r\n"), 1u);
    EXPECT_EQ(scenario.CountInLog(u"\nStatus: Recovered"), 1u);
}

/// Attachments made by hand. Their blocks have these BIDs.
constexpr std::uint64_t kContext = 0x8000, kFirst = 0x8004, kSecond = 0x8008, kTree = 0x800A, kTable = 0x800C,
                        kOwnList = 0x800E;
constexpr std::uint32_t kDataNid = 0x803F;

struct HandMade {
    std::map<std::uint16_t, StoredProperty> properties;
    std::uint64_t bidSub = 0;
    std::vector<SubnodeRef> ownSubnodes{};  ///< in the list kOwnList
};

std::vector<FakeAttachment> Recovered(const HandMade& attachment)
{
    StoreMessage mail = Mail(u"subject", u"f", u"b", 0);
    mail.subnodes = {{0x671, kTable, 0}, {0x8025, kContext, attachment.bidSub}};
    StoreDescription description = InInbox({mail});
    description.atStart = [&](CStoreFile& file) {
        file.SkipTo(0x20000);
        file.WriteBlock(BuildPropertyContext(attachment.properties).Finish().front(), {.bid = kContext});
        file.WriteBlock(Binary(0, "first ").value, {.bid = kFirst});
        file.WriteBlock(Binary(0, "second").value, {.bid = kSecond});
        const std::uint64_t children[] = {kFirst, kTree, 0xFFFF0, kSecond + 1};
        file.WriteDataTreeBlock(1, 12, children, {.bid = kTree});
        if (!attachment.ownSubnodes.empty())
            file.WriteSubnodes(attachment.ownSubnodes, "own", kOwnList);
    };
    CRecoveredStore scenario(description);
    return scenario.OnlyItem(u"\\Inbox").attachments;
}

std::map<std::uint16_t, StoredProperty> Named(std::optional<StoredProperty> data)
{
    std::map<std::uint16_t, StoredProperty> properties;
    properties[pid::kAttachFilename] = {format::PropertyType::String, Text(0, u"a.bin").value};
    if (data)
        properties[pid::kAttachDataBinary] = *data;
    return properties;
}

TEST(Attachments, BytesAreFoundThroughTheSecondBid)
{
    const StoredProperty inSubnode{format::PropertyType::Binary, {}, kDataNid};
    Bytes object(8);
    format::StoreLE(std::span(object), 0, kDataNid);
    const StoredProperty asObject{format::PropertyType::Object, object};
    const StoredProperty beyondTheHeap{format::PropertyType::Binary, {}, 0x10020};
    const std::vector<SubnodeRef> twoSubnodes = {{0x801F, kSecond, 0}, {kDataNid, kTree, 0}};
    const std::vector<SubnodeRef> missing = {{kDataNid, 0xFFFF0, 0}};
    struct Case {
        HandMade attachment;
        std::optional<std::string> bytes;
    };
    const Case cases[] = {
        {{Named(inSubnode), kOwnList, twoSubnodes}, "first second"},
        {{Named(asObject), kOwnList, twoSubnodes}, "first second"},
        {{Named(std::nullopt), kOwnList, twoSubnodes}, "second"},  // the first entry stands in
        {{Named(inSubnode), kTree}, "first second"},
        {{Named(inSubnode), kFirst}, "first "},
        {{Named(inSubnode), kOwnList, missing}, std::nullopt},
        {{Named(inSubnode), 0xFFFF2}, std::nullopt},
        {{Named(inSubnode), 0}, std::nullopt},
        {{Named(std::nullopt), 0}, std::nullopt},
        {{Named(asObject), 0}, std::nullopt},
        {{Named(beyondTheHeap), kOwnList, twoSubnodes}, std::nullopt},
        {{Named(StoredProperty{format::PropertyType::Binary, {}, 0}), 0}, ""},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto attachments = Recovered(cases[i].attachment);
        ASSERT_EQ(attachments.size(), cases[i].bytes ? 1u : 0u) << "case " << i;
        EXPECT_EQ(attachments.empty() ? "" : attachments[0].bytes, cases[i].bytes.value_or(""))
            << "case " << i;
    }
}

TEST(Attachments, OfAListThatDoesNotBeginWithTheTableAreNone)
{
    StoreMessage mail = With(u"IPM.Note", {File(u"a", "bytes")});
    mail.subnodes = {{0x65F, kTable, 0}};
    CRecoveredStore scenario(InInbox({mail}));
    EXPECT_TRUE(scenario.OnlyItem(u"\\Inbox").attachments.empty());
}

TEST(Attachments, TheSameBytesAreNotAttachedWithoutEnd)
{
    StoreMessage mail = Mail(u"subject", u"f", u"b", 0);
    mail.subnodes = {{0x671, kTable, 0}};
    for (std::uint32_t i = 0; i < 200; ++i)
        mail.subnodes.push_back({0x8025 + 32 * i, kContext, kTree});
    StoreDescription description = InInbox({mail});
    description.atStart = [&](CStoreFile& file) {
        file.SkipTo(0x20000);
        file.WriteBlock(BuildPropertyContext(Named(std::nullopt)).Finish().front(), {.bid = kContext});
        file.WriteBlock(Bytes(8000, std::byte{'b'}), {.bid = kFirst});
        const std::vector<std::uint64_t> children(100, kFirst);
        file.WriteDataTreeBlock(1, 0, children, {.bid = kTree});
    };
    CRecoveredStore scenario(description);
    const auto& attachments = scenario.OnlyItem(u"\\Inbox").attachments;
    EXPECT_EQ(attachments.size(), 2u) << "each of them is as large as the file can hold";
    for (const FakeAttachment& attachment : attachments)
        EXPECT_LE(attachment.bytes.size(), 800'000u);
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 1u);
}

TEST(ContactPicture, IsAddedToTheContactWhichIsSavedOnceMore)
{
    StoreAttachment picture = File(u"ContactPicture.jpg", Pattern(3000));
    picture.inSubnode = true;
    CRecoveredStore scenario(InInbox({With(u"IPM.Contact", {picture, File(u"b", "2"), File(u"c", "3")})}));
    EXPECT_EQ(scenario.component.SavedItems(), std::vector<std::string>{"\\Inbox: IPM.Contact"});
    const FakeItem& contact = scenario.OnlyItem(u"\\Inbox");
    ASSERT_EQ(contact.attachments.size(), 3u);
    EXPECT_TRUE(contact.attachments[0].isPicture);
    EXPECT_EQ(contact.attachments[0].fileName, u"ContactPicture.jpg");
    EXPECT_TRUE(contact.attachments[0].bytes == Pattern(3000));
    EXPECT_EQ(contact.saves, 2);
    EXPECT_EQ(scenario.pipeline->Figures().ItemsOf(recovery::ItemFamily::Contact), 1u);
}

TEST(PlaceholderMail, CarriesWhatNoMailCan)
{
    for (const char16_t* messageClass : {u"IPM.Appointment", u"IPM.Task", u"IPM.Note.Custom"}) {
        CRecoveredStore scenario(InInbox({With(messageClass, {File(u"a", "one"), File(u"b", "two")})}));
        const FakeItem& placeholder = scenario.OnlyItem(u"\\Lost & Found");
        EXPECT_EQ(placeholder.messageClass, u"IPM.Note") << platform::ToUtf8(messageClass);
        EXPECT_EQ(placeholder.Text("Subject"), u"UnKnown");
        EXPECT_FALSE(placeholder.Text("AddressLine").empty());
        EXPECT_EQ(placeholder.Text("AddressLine"), placeholder.Text("SenderEmailAddress"));
        EXPECT_NEAR(placeholder.dates.at("DeliveryTime"), 46'348 + 21.0 / 24 + 5.0 / 1440 + 9.0 / 86'400,
                    1e-8);
        EXPECT_EQ(placeholder.numbers.at("Sent"), 1);
        ASSERT_EQ(placeholder.attachments.size(), 2u) << "one for both";
        EXPECT_EQ(placeholder.attachments[1].bytes, "two");
        EXPECT_EQ(placeholder.saves, 1);
        EXPECT_EQ(scenario.CountInLog(u"\r\nAttachment File Name: a\r\nAttachment File Name: b"
                                      u"\r\nStatus: Recovered\r\n"),
                  1u);
        std::size_t announced = 0;
        for (const auto& message : scenario.frontEnd.All<platform::FolderMessage>())
            announced += message.folderId == platform::FolderMessage::kLostAndFound ? 1 : 0;
        EXPECT_EQ(announced, 1u);
    }
}

TEST(PlaceholderMail, IsMadeForANodeThatIsNoItem)
{
    StoreMessage noItem = BareMail({});
    noItem.properties = {Text(pid::kSubject, u"no class")};
    noItem.attachments = {File(u"a", "one")};
    CRecoveredStore scenario(InInbox({noItem}));
    EXPECT_EQ(scenario.OnlyItem(u"\\Lost & Found").attachments.size(), 1u);
}

TEST(PlaceholderMail, IsNotMadeForNothing)
{
    StoreAttachment empty = File(u"a", "");
    CRecoveredStore scenario(InInbox({With(u"IPM.Appointment", {empty})}));
    EXPECT_EQ(scenario.component.SavedItems(), std::vector<std::string>{"\\Inbox: IPM.Appointment"});
    EXPECT_EQ(scenario.component.Folder(u"\\Lost & Found"), nullptr);
}

TEST(Attachments, AFailingComponentEndsTheNodeAndSavesTheMail)
{
    CRecoveryScenario scenario(InInbox(
        {With(u"IPM.Note", {File(u"a", "one"), File(u"b", "two")}), With(u"IPM.Note", {File(u"a", "one")})}));
    scenario.component.FailCalls("AddAttachment:a", writer::E_FAIL, 0, 1);
    scenario.Run();
    const auto saved = scenario.component.Folder(u"\\Inbox")->Saved();
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_TRUE(saved[0]->attachments.empty());
    EXPECT_EQ(saved[0]->Text("Body"), u"b");
    EXPECT_EQ(saved[1]->attachments.size(), 1u);
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 2u);
    EXPECT_FALSE(scenario.state.failed);
}

using recovery::IsFileName;

TEST(AttachmentName, NineCharactersBecomeBlanks)
{
    EXPECT_EQ(recovery::WithoutSeparators(u"RE: Why? a\\b/c*d<e>f|g\"h.txt"),
              u"RE  Why  a b c d e f g h.txt");
    EXPECT_EQ(recovery::WithoutSeparators(u"plain (1) [x] 'y' & z;.txt"), u"plain (1) [x] 'y' & z;.txt");
    EXPECT_EQ(recovery::WithoutSeparators(u""), u"");
}

TEST(AttachmentName, TakesWhatEveryHostTakes)
{
    using namespace std::string_view_literals;
    for (const auto name :
         {u"a"sv, u"report.pdf"sv, u".hidden"sv, u"a b"sv, u" x"sv, u"Gr\u00FC\u00DFe \u6F22"sv,
          u"CONSOLE.txt"sv, u"COM0"sv, u"COM10"sv, u"COM"sv, u"LPT"sv, u"my.con"sv, u"nul1"sv, u"XCON"sv})
        EXPECT_TRUE(IsFileName(name)) << platform::ToUtf8(name);
    EXPECT_TRUE(IsFileName(std::u16string(255, u'x')));
}

TEST(AttachmentName, RefusesWhatAHostRefuses)
{
    using namespace std::string_view_literals;
    for (const auto name :
         {u""sv,        u" "sv,       u"."sv,         u".."sv,   u". . ."sv,    u"a\nb"sv,    u"a\0b"sv,
          u"\x7F"sv,    u"a\u0085"sv, u"tab\t"sv,     u"CON"sv,  u"con"sv,      u"Con.txt"sv, u"NUL"sv,
          u"nul.a.b"sv, u"AUX"sv,     u"PRN.x"sv,     u"COM1"sv, u"com9.log"sv, u"LPT3"sv,    u"CON .txt"sv,
          u"CONIN$"sv,  u"conout$"sv, u"COM\u00B2"sv, u"a/b"sv,  u"a\\b"sv,     u"C:"sv,      u"../../x"sv})
        EXPECT_FALSE(IsFileName(name)) << platform::ToUtf8(name);
    EXPECT_FALSE(IsFileName(std::u16string(256, u'x')));
}

}  // namespace
}  // namespace pastille::tests
