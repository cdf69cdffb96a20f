#include <gtest/gtest.h>

#include <algorithm>

#include "platform/Text.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"

namespace pastille::tests {
namespace {

using format::Variant;
namespace pid = format::pid;
namespace propset = format::propset;

StoreMessage PlainMail(const std::u16string& subject)
{
    return Mail(subject, u"Ada Brook", u"Text", FileTime(2020, 1, 1));
}

/// The message of that subject among the attached ones; nullptr when there is none.
const FoundItem* Embedded(const FoundItem& item, const std::string& subject)
{
    for (const FoundItem* const inner : item.Embedded()) {
        if (platform::ToUtf8(TextValue(inner->values, pid::kSubject)) == subject)
            return inner;
    }
    return nullptr;
}

/// Of an item of a store or of a message that a store is to hold.
template <class Item>
std::vector<Bytes> DataOf(const Item& item)
{
    std::vector<Bytes> all;
    for (const auto& attachment : item.attachments)
        all.push_back(attachment.data);
    return all;
}

enum class Names { Told, NotTold };

/// A message and everything in it must be as it was, down to the last message. Attached messages come behind
/// the files, each under its subject.
void ExpectSame(const FoundItem& found, const StoreMessage& message, Names names = Names::Told)
{
    SCOPED_TRACE(message.label);
    EXPECT_EQ(TextValue(found.values, pid::kMessageClass), message.messageClass);
    EXPECT_EQ(platform::ToUtf8(TextValue(found.values, pid::kSubject)), message.label);
    ASSERT_EQ(found.attachments.size(), message.attachments.size());
    std::size_t files = 0;
    for (const StoreAttachment& original : message.attachments) {
        if (original.embedded) {
            const FoundItem* const inner = Embedded(found, original.embedded->label);
            ASSERT_NE(inner, nullptr) << original.embedded->label;
            ExpectSame(*inner, *original.embedded, names);
            continue;
        }
        const FoundAttachment& file = found.attachments[files++];
        EXPECT_TRUE(file.data == original.data) << "bytes of " << platform::ToUtf8(original.fileName);
        if (names == Names::Told) {
            EXPECT_EQ(TextValue(file.values, pid::kAttachLongFilename), original.fileName);
        }
    }
    for (const FoundAttachment& attachment : found.attachments) {
        for (const FoundItem& inner : attachment.embedded) {
            EXPECT_TRUE(names == Names::NotTold || TextValue(attachment.values, pid::kDisplayName) ==
                                                       TextValue(inner.values, pid::kSubject));
        }
    }
}

class AttachmentsIn : public testing::TestWithParam<Variant> {};

TEST_P(AttachmentsIn, HaveTheirBytesFromWhereverTheyLay)
{
    StoreDescription description;
    description.format = FormatOf(GetParam());
    description.format.childrenPerBlock = 7;
    StoreMessage mail = PlainMail(u"With files");
    mail.attachments = {
        {.fileName = u"heap.bin", .data = FixedBytes(1, 100)},
        {.fileName = u"largest in the heap.bin", .data = FixedBytes(2, 3580)},
        {.fileName = u"one block.bin", .data = FixedBytes(3, 5000), .inSubnode = true},
        {.fileName = u"tree.bin", .data = FixedBytes(4, 3001), .leafBytes = 500},
        {.fileName = u"tree of trees.bin", .data = FixedBytes(5, 20'003), .leafBytes = 500},
        {.fileName = u"alike.txt", .data = Bytes(9000, std::byte{'a'}), .inSubnode = true},
        {.fileName = u"heap in a block.bin", .data = FixedBytes(6, 90), .inSubnode = true},
        {.fileName = u"empty.bin", .properties = {Binary(pid::kAttachDataBinary, Bytes())}},
    };
    // Looks like a list of blocks, and like a heap, but is neither.
    mail.attachments[6].data[0] = std::byte{1};
    mail.attachments[6].data[1] = std::byte{1};
    mail.attachments.push_back(mail.attachments[2]);
    mail.attachments.back().data[2] = std::byte{0xEC};
    mail.attachments.back().data[3] = std::byte{0xBC};
    StoreMessage large = PlainMail(u"With a large file");
    large.attachments = {{.fileName = u"large.bin", .data = FixedBytes(7, 90'000)}};
    description.folders = {{.name = u"Inbox", .messages = {mail, large}}};
    const auto repair = RepairOf(description);
    const std::vector<FoundItem> items = ReadNewStore(repair->state.outputPath);
    const auto outside = ReadItemsWithPffexport(repair->state.outputPath);
    for (const StoreMessage& message : {mail, large}) {
        const std::u16string subject = platform::FromUtf8(message.label);
        const FoundItem* const found = OfSubject(items, subject);
        ASSERT_NE(found, nullptr);
        ExpectSame(*found, message);
        if (outside && OfSubject(*outside, subject) != nullptr) {
            EXPECT_EQ(DataOf(*OfSubject(*outside, subject)), DataOf(message));
        }
    }
    if (outside) {
        EXPECT_EQ(outside->size(), 2u);
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, AttachmentsIn, testing::ValuesIn(kAllVariants), NameOfVariant);

TEST(Attachments, MessagesOfEveryFamilyLiveInTheirMailsAndNowhereElse)
{
    StoreMessage innermost = PlainMail(u"Third");
    innermost.attachments = {{.fileName = u"deep.bin", .data = FixedBytes(1, 200)},
                             {.fileName = u"deeper.bin", .data = FixedBytes(2, 30'000), .leafBytes = 4000}};
    StoreMessage middle = PlainMail(u"Second");
    middle.attachments = {{.fileName = u"before.txt", .data = FixedBytes(3, 50)}, Embed(innermost, u"Third")};
    StoreMessage contact{.label = "Ada", .messageClass = u"IPM.Contact"};
    contact.properties = {Text(pid::kSubject, u"Ada"), Text(0x3A06, u"Ada"), Text(0x3A11, u"Brook")};
    contact.named = {{{propset::kAddress, 0x8083, {}}, Text(0, u"ada@example.org")}};
    StoreMessage appointment{.label = "Fair", .messageClass = u"IPM.Appointment"};
    appointment.properties = {Text(pid::kSubject, u"Fair")};
    appointment.named = {{{propset::kAppointment, 0x820D, {}}, Time(0, FileTime(2021, 6, 26, 9))},
                         {{propset::kAppointment, 0x8208, {}}, Text(0, u"Green")}};
    StoreMessage outer = PlainMail(u"First");
    outer.attachments = {Embed(middle, u"Second"),
                         Embed(contact, u"Ada"),
                         Embed(appointment, u"Fair"),
                         {.fileName = u"after.bin", .data = FixedBytes(4, 5000), .inSubnode = true}};
    StoreDescription description;
    description.folders = {{.name = u"Inbox", .messages = {outer}}};
    const auto repair = RepairOf(description);

    const std::vector<FoundItem> items = ReadNewStore(repair->state.outputPath);
    ASSERT_EQ(items.size(), 1u) << "what lives in a mail lies in a folder";
    ExpectSame(items.front(), outer);
    const FoundItem* const foundContact = Embedded(items.front(), "Ada");
    const FoundItem* const foundAppointment = Embedded(items.front(), "Fair");
    ASSERT_TRUE(foundContact != nullptr && foundAppointment != nullptr);
    EXPECT_EQ(TextValue(foundContact->values, 0x3A11), u"Brook");
    const FoundValue* const address = FindValue(*foundContact, {propset::kAddress, 0x8083, {}});
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(address->bytes, Text(0, u"ada@example.org").value);
    const FoundValue* const start = FindValue(*foundAppointment, {propset::kAppointment, 0x820D, {}});
    ASSERT_NE(start, nullptr);
    EXPECT_EQ(start->bytes, appointment.named[0].property.value);

    if (const auto outside = ReadItemsWithPffexport(repair->state.outputPath)) {
        ASSERT_EQ(outside->size(), 1u);
        ExpectSame(outside->front(), outer, Names::NotTold);
    }
}

TEST(Attachments, NamesAreDataAndNeverPlacesOnTheHost)
{
    const CTemporaryFolder elsewhere;
    const std::filesystem::path absolute = elsewhere / "escaped";
    const std::vector<std::u16string> names = {u"../../x",
                                               u"../../../../x",
                                               u"C:\\x",
                                               platform::FromUtf8(absolute.string()),
                                               u"CON",
                                               u"..",
                                               std::u16string(300, u'n') + u".txt",
                                               u"\u202Egnp.exe",
                                               u"same.txt",
                                               u"same.txt",
                                               u"tab\tand\nline"};
    StoreMessage mail = PlainMail(u"Odd names");
    for (const std::u16string& name : names) {
        const auto seed = static_cast<std::uint32_t>(mail.attachments.size());
        mail.attachments.push_back({.fileName = name, .data = FixedBytes(seed, 50)});
        mail.attachments.push_back({.fileName = name, .data = FixedBytes(seed + 100, 9000)});
    }
    StoreMessage unnameable = PlainMail(u"Names that no store can hold");
    for (const std::u16string& name : {std::u16string(u"a\0b", 3), std::u16string(u"half \xD83D"),
                                       std::u16string(u"\xDE00 half"), std::u16string()})
        unnameable.attachments.push_back({.fileName = name, .data = FixedBytes(7, 60)});
    StoreDescription description;
    description.folders = {{.name = u"Inbox", .messages = {mail, unnameable}}};

    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere.Path()));
    EXPECT_EQ(repair.Strangers(), std::vector<std::string>());

    const std::vector<FoundItem> items = ReadNewStore(repair.state.outputPath);
    const FoundItem* const found = OfSubject(items, u"Odd names");
    ASSERT_NE(found, nullptr);
    ExpectSame(*found, mail);
    const FoundItem* const other = OfSubject(items, u"Names that no store can hold");
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(DataOf(*other), DataOf(unnameable));
    ReadItemsWithPffexport(repair.state.outputPath);  // fails when it cannot be read
}

}  // namespace
}  // namespace pastille::tests
