#include <gtest/gtest.h>

#include "format/PropertyIds.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/Samples.h"
#include "tests/support/StoreFamilies.h"
#include "tests/support/WholeCompare.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;

/// What other readers have counted in the samples.
struct SampleCounts {
    const char* name;
    std::size_t folders;  ///< the IPM subtree, and the root folder with it, as one
    std::size_t items, hidden, embedded, files;
};
constexpr SampleCounts kSamples[] = {
    {"contacts-ansi.pst", 5, 1, 0, 0, 0}, {"dist-list.pst", 17, 4, 3, 2, 0},
    {"empty.pst", 4, 0, 0, 0, 0},         {"mailbox-4k.ost", 36, 92, 21, 1, 40},
    {"mailbox.ost", 36, 92, 21, 1, 40},   {"outlook-cyclic.pst", 20, 17, 10, 4, 30},
    {"outlook.pst", 20, 17, 10, 4, 30},   {"sample1.pst", 4, 1, 0, 0, 1},
    {"sample2.pst", 4, 1, 0, 0, 1},       {"submessage.pst", 4, 1, 0, 1, 0},
    {"support.pst", 23, 17, 0, 0, 2},     {"test_ansi.pst", 4, 1, 0, 0, 0},
    {"test_unicode.pst", 4, 2, 0, 0, 0},
};

WholeStore Sample(const std::string& name)
{
    return ReadWholeStore(SampleFolder() / name,
                          name == "contacts-ansi.pst" ? "windows-932" : "windows-1252");
}

WholeStore Built(const StoreDescription& description)
{
    const CTemporaryFolder folder;
    CBuiltStore(description).WriteTo(folder / "built.pst");
    return ReadWholeStore(folder / "built.pst", description.codePage);
}

TEST(WholeStore, HoldsEverythingOfTheSamples)
{
    if (Samples().empty())
        GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    for (const SampleCounts& expected : kSamples) {
        SCOPED_TRACE(expected.name);
        const WholeStore store = Sample(expected.name);
        EXPECT_EQ(Joined(store.faults), "");
        EXPECT_EQ(store.folders.size(), expected.folders);
        EXPECT_EQ(store.CountItems(false), expected.items);
        EXPECT_EQ(store.CountItems(true), expected.hidden);
        EXPECT_EQ(store.CountEmbedded(), expected.embedded);
        EXPECT_EQ(store.CountFiles(), expected.files);
        EXPECT_EQ(Joined(Differences(store, store)), "");
        for (const auto& [path, folder] : store.folders)
            EXPECT_TRUE(folder.items.empty() || !path.starts_with("?")) << path << " is no folder";
    }
}

/// Two pairs of samples hold the same in pages and encodings of other kinds; no others do.
TEST(WholeStore, TellsSamplesApart)
{
    if (Samples().empty())
        GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    EXPECT_EQ(Joined(Differences(Sample("mailbox.ost"), Sample("mailbox-4k.ost"))), "");
    EXPECT_EQ(Joined(Differences(Sample("outlook.pst"), Sample("outlook-cyclic.pst"))), "");
    for (const auto& [one, other] : {std::pair("sample1.pst", "submessage.pst"),
                                     {"mailbox.ost", "outlook.pst"},
                                     {"test_ansi.pst", "test_unicode.pst"}})
        EXPECT_FALSE(Differences(Sample(one), Sample(other)).empty()) << one;
}

StoreDescription StoreOfEverything(format::Variant variant)
{
    StoreDescription description;
    description.format = FormatOf(variant);
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    StoreMessage mail = Mail(u"Grüße", u"Zoë", u"Text – mit Strich", FileTime(2021, 2, 3));
    mail.named = {{{format::propset::kCommon, 0x8539, {}}, Texts(0, {u"Ä & Co", u"B"})},
                  {{format::propset::kPublicStrings, 0, u"Keywords"}, Text(0, u"grün")}};
    mail.recipients = {{u"Ada", u"ada@example.org", 1}, {u"Émile", u"emile@example.org", 2}};
    mail.attachments = {{.fileName = u"größe.bin", .data = FixedBytes(1, 20'000)},
                        Embed(Mail(u"Innen", u"Zoë", u"Été", FileTime(2020, 1, 1)), u"Innen")};
    inbox.messages = {mail, Mail(u"Second", u"Ada", u"Two", FileTime(2021, 2, 4)),
                      Mail(u"Third", u"Ada", u"Three", FileTime(2021, 2, 5))};
    inbox.folders = {StoreFolder{.name = u"Empty"}};
    description.folders = {inbox};
    return description;
}

/// 8-bit texts come in the code page of their store; what the file calls a named property does not matter.
TEST(WholeStore, IsTheSameFromEveryVariant)
{
    const WholeStore unicode = Built(StoreOfEverything(format::Variant::Unicode));
    EXPECT_EQ(Joined(unicode.faults), "");
    EXPECT_EQ(unicode.CountItems(false), 3u);
    for (const format::Variant variant : {format::Variant::Ansi, format::Variant::Unicode4k})
        EXPECT_EQ(Joined(Differences(unicode, Built(StoreOfEverything(variant)))), "")
            << VariantName(variant);
    StoreDescription reordered = StoreOfEverything(format::Variant::Unicode);
    std::swap(reordered.folders[0].messages[0].named[0], reordered.folders[0].messages[0].named[1]);
    EXPECT_EQ(Joined(Differences(unicode, Built(reordered))), "");
}

/// The code page that an item states counts where its bytes fit it.
TEST(WholeStore, TextsAreInTheCodePageThatTheirItemStates)
{
    const Bytes greek = {std::byte{0xC1}, std::byte{0xE2}}, undefined = {std::byte{0xD2}, std::byte{0x81}};
    StoreDescription description;
    StoreFolder inbox{.name = u"Inbox"};
    StoreMessage mail = Mail(u"Greek", u"Ada", u"Text", FileTime(2020, 1, 1));
    mail.properties.push_back({pid::kComment, format::PropertyType::String8, greek});
    mail.properties.push_back({pid::kHobbies, format::PropertyType::String8, undefined});
    mail.properties.push_back(Number(pid::kMessageCodepage, 1253));
    inbox.messages = {mail};
    description.folders = {inbox};
    const CTemporaryFolder folder;
    CBuiltStore(description).WriteTo(folder / "greek.pst");
    const WholeStore store = ReadWholeStore(folder / "greek.pst", "windows-1251");
    ASSERT_EQ(store.CountItems(false), 1u);
    const WholeObject& properties = store.folders.at("/Inbox").items[0].properties;
    EXPECT_EQ(TextOf(properties, pid::kComment), u"\u0391\u03B2");
    EXPECT_EQ(TextOf(properties, pid::kHobbies), u"\u0422\u0403") << "0xD2 is none of 1253";
}

class WholeCompare : public testing::Test {
protected:
    std::string Found() const { return Joined(Differences(source, copy)); }
    std::vector<WholeMessage>& Items() { return copy.folders["/Inbox"].items; }
    WholeMessage& First()
    {
        for (WholeMessage& item : Items()) {
            if (!item.attachments.empty())
                return item;
        }
        throw std::logic_error("the store has no mail with attachments");
    }

    WholeStore source = Built(StoreOfEverything(format::Variant::Unicode));
    WholeStore copy = source;
};

TEST_F(WholeCompare, TellsWhatIsMissingExtraTwiceAndMoved)
{
    Items().push_back(Items().back());
    EXPECT_EQ(Found(), "twice: 'IPM.Note' 'Third' in '/Inbox'\n");
    copy.folders["/Inbox/Empty"].items = {Items().back()};
    Items().erase(Items().end() - 2, Items().end());
    EXPECT_EQ(Found(), "moved to '/Inbox/Empty': 'IPM.Note' 'Third' in '/Inbox'\n");
    copy.folders["/Inbox/Empty"].items.clear();
    EXPECT_EQ(Found(), "missing: 'IPM.Note' 'Third' in '/Inbox'\n");
    std::swap(source, copy);
    EXPECT_EQ(Found(), "extra: 'IPM.Note' 'Third' in '/Inbox'\n");
    std::swap(source, copy);
    copy = source;
    copy.folders.erase("/Inbox/Empty");
    EXPECT_EQ(Found(), "folder '/Inbox/Empty' is missing\n");
    source.folders["/Views"].isBeside = true;
    copy = source;
    copy.folders.erase("/Views");
    EXPECT_EQ(Found(), "");
    source.folders["/Views"].items = {source.folders["/Inbox"].items[0]};
    EXPECT_NE(Found().find("folder '/Views' is missing\nmissing: "), std::string::npos) << Found();
    source.folders.erase("/Views");
    copy = source;
    copy.folders["/Calendar"];
    EXPECT_EQ(Found(), "");
    copy.faults = {"block"};
    EXPECT_EQ(Found(), "fault in the copy: block\n");
}

TEST_F(WholeCompare, TellsOfEveryPartOfAnItem)
{
    const auto expectLine = [&](const std::string& line) {
        EXPECT_NE(Found().find("differs: "), std::string::npos);
        EXPECT_NE(Found().find(line), std::string::npos) << Found();
        copy = source;
    };
    First().properties.erase(pid::kBody);
    expectLine("  0x1000 is missing: 001F 'Text");
    First().properties[pid::kBody].bytes.back() ^= std::byte{1};
    expectLine("  0x1000 is 001F");
    First().properties[pid::kHtml] = {format::PropertyType::Binary, Bytes(3)};
    expectLine("  0x1013 is extra: 0102 000000 (3)");
    First().properties[format::PropertyName{format::propset::kCommon, 0x8539, {}}].type =
        format::PropertyType::String;
    expectLine("  {00062008-...}/0x8539 is ");
    First().isAssociated = true;
    expectLine("  associated is 1");
    First().recipients.pop_back();
    expectLine("  1 recipients, were 2");
    std::swap(First().recipients[0], First().recipients[1]);
    expectLine("  recipient 0: 0x3001 is 001F");
    First().attachments.pop_back();
    expectLine("  1 attachments, were 2");
    First().attachments[0].properties[pid::kAttachDataBinary].bytes[9] ^= std::byte{1};
    expectLine("  attachment 0: 0x3701 is 0102");
    First().attachments[0].object = Bytes(4);
    expectLine("  attachment 0: object has 4 bytes, was none");
    First().attachments[1].embedded[0].properties.erase(pid::kSubject);
    expectLine("  attachment 1: embedded: 0x0037 is missing");
    First().attachments[1].embedded.clear();
    expectLine("  attachment 1: message attached is missing");
    copy.folders["/Inbox"].properties[pid::kContainerClass].bytes.clear();
    EXPECT_NE(Found().find("folder '/Inbox': 0x3613 is "), std::string::npos);
}

TEST_F(WholeCompare, LooksOverWhatAStoreSaysOfItsOwn)
{
    First().properties[pid::kMessageSize].bytes[0] ^= std::byte{1};
    First().properties[pid::kMessageFlags].bytes[0] ^= std::byte{0x10};
    First().attachments[0].properties[pid::kAttachSize].bytes[0] ^= std::byte{1};
    First().attachments[0].properties[pid::kAttachNumber] = {};
    copy.folders["/Inbox"].properties[pid::kContentCount].bytes[0] ^= std::byte{1};
    EXPECT_EQ(Found(), "");
    First().properties[pid::kMessageFlags].bytes[0] ^= std::byte{1};
    EXPECT_NE(Found(), "");
    // What every message has, when the source lacks it.
    copy = source;
    source.folders["/Inbox"].items[1].properties.erase(pid::kSearchKey);
    EXPECT_EQ(Found(), "");
    std::swap(source, copy);
    EXPECT_NE(Found(), "");
}

}  // namespace
}  // namespace pastille::tests
