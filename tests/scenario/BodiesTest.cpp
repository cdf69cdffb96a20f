#include <gtest/gtest.h>

#include "platform/Text.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
using namespace std::string_view_literals;
using format::Variant;
namespace pid = format::pid;

constexpr std::uint32_t kUnknownPage = 99'999;

/// A mail and the one body that it must have afterwards.
struct BodyCase {
    std::u16string subject;
    std::vector<StoreProperty> bodies;
    std::uint16_t kept = 0;  ///< 0: none
    Bytes bytes{};
    std::uint32_t codePage = 0;          ///< that HTML is kept with
    std::vector<SubnodeRef> subnodes{};  ///< besides those of the bodies
};

/// Text that no two places of are alike, with characters beyond 7 bits, of at least so many units.
std::u16string LongText(std::size_t units)
{
    std::u16string text;
    for (std::size_t line = 0; text.size() < units; ++line)
        text += u"L\u00EDnea " + platform::FromUtf8(std::to_string(line)) + u"\r\n";
    return text;
}

BodyCase Plain(std::u16string subject, const std::u16string& text, std::size_t leafBytes)
{
    StoreProperty body = Text(pid::kBody, text);
    return {std::move(subject), {InSubnode(body, leafBytes)}, pid::kBody, body.value};
}

/// The last of these is kept.
BodyCase Last(std::u16string subject, std::vector<StoreProperty> bodies)
{
    const StoreProperty kept = bodies.back();
    return {std::move(subject), std::move(bodies), kept.id, kept.value, kept.id == pid::kHtml ? 1252u : 0u};
}

BodyCase None(std::u16string subject, std::vector<StoreProperty> bodies)
{
    return {std::move(subject), std::move(bodies)};
}

/// HTML in a subnode, beside a plain text in another one.
BodyCase Html(std::u16string subject, std::string_view bytes, std::optional<std::uint32_t> codePage,
              std::size_t leafBytes = 0)
{
    BodyCase tested = Last(std::move(subject), {InSubnode(Text(pid::kBody, u"Plain")),
                                                InSubnode(Binary(pid::kHtml, bytes), leafBytes)});
    tested.codePage = codePage && *codePage != kUnknownPage ? *codePage : 1252;
    if (codePage)
        tested.bodies.push_back(Number(pid::kInternetCodepage, *codePage));
    return tested;
}

StoreMessage MailWith(const BodyCase& tested)
{
    StoreMessage mail = Mail(tested.subject, u"Ada Brook", u"", FileTime(2020, 1, 1));
    std::erase_if(mail.properties, [](const StoreProperty& property) { return property.id == pid::kBody; });
    mail.properties.insert(mail.properties.end(), tested.bodies.begin(), tested.bodies.end());
    mail.subnodes = tested.subnodes;
    return mail;
}

void ExpectBodies(const std::vector<FoundItem>& items, const std::vector<BodyCase>& cases)
{
    EXPECT_EQ(items.size(), cases.size());
    for (const BodyCase& tested : cases) {
        SCOPED_TRACE(platform::ToUtf8(tested.subject));
        const FoundItem* const item = OfSubject(items, tested.subject);
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(NumberValue(item->values, pid::kInternetCodepage), tested.codePage);
        for (const std::uint16_t id : {pid::kBody, pid::kHtml, pid::kRtfCompressed}) {
            const FoundValue* const found = FindValue(*item, id);
            ASSERT_EQ(found != nullptr, id == tested.kept) << std::hex << id;
            if (found == nullptr)
                continue;
            EXPECT_EQ(found->type, id == pid::kBody ? PropertyType::String : PropertyType::Binary);
            // Not printed: bodies are large.
            EXPECT_TRUE(found->bytes == tested.bytes)
                << found->bytes.size() << " bytes instead of " << tested.bytes.size();
        }
    }
}

std::vector<FoundItem> Recover(const StoreFormat& storeFormat, const std::vector<BodyCase>& cases)
{
    StoreDescription description;
    description.format = storeFormat;
    description.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note"}};
    for (const BodyCase& tested : cases)
        description.folders[0].messages.push_back(MailWith(tested));
    const auto repair = RepairOf(description);
    if (const auto outside = ReadItemsWithPffexport(repair->state.outputPath))
        ExpectBodies(*outside, cases);
    return ReadNewStore(repair->state.outputPath);
}

/// Compressed RTF and what is no more than wrapped. [MS-OXRTFCP] 4.1
constexpr std::string_view kCompressedRtf =
    "\x2d\0\0\0\x2b\0\0\0\x4c\x5a\x46\x75\xf1\xc5\xc7\xa7\x03\0\x0a\0\x72\x63\x70\x67\x31\x32\x35\x42\x32\x0a"
    "\xf3\x20"
    "\x68\x65\x6c\x09\0\x20\x62\x77\x05\xb0\x6c\x64\x7d\x0a\x80\x0f\xa0"sv;
constexpr std::string_view kWrappedRtf = "\x14\0\0\0\x08\0\0\0MELA\0\0\0\0{\\rtf1 }"sv;

std::vector<BodyCase> CommonCases()
{
    // Odd sizes of blocks: a character begins in one and ends in the next.
    std::vector<BodyCase> cases = {Plain(u"Plain in a subnode", LongText(900), 0),
                                   Plain(u"Plain in a tree", LongText(1000), 333),
                                   Plain(u"Plain in a tree of trees", LongText(6000), 333)};
    const StoreProperty small = Text(pid::kBody, u"Caf\u00E9");
    cases.push_back({u"Plain in the heap", {small}, pid::kBody, small.value});
    const StoreProperty rtf = Binary(pid::kRtfCompressed, kCompressedRtf);
    cases.push_back({u"RTF in the heap", {rtf}, pid::kRtfCompressed, rtf.value});
    const StoreProperty wrapped = Binary(pid::kRtfCompressed, kWrappedRtf);
    cases.push_back({u"Wrapped RTF", {wrapped}, pid::kRtfCompressed, wrapped.value});
    cases.push_back({u"Plain before RTF", {small, rtf}, pid::kBody, small.value});
    cases.push_back(
        {u"Plain before an empty RTF", {small, Binary(pid::kRtfCompressed, "")}, pid::kBody, small.value});
    cases.push_back(Last(u"Plain before all others", {Binary(pid::kHtml, "<p>"), rtf, small}));
    StoreProperty damaged = small;
    damaged.hnid = 0x7FE0;
    cases.push_back(None(u"Plain that is not there", {damaged}));
    cases.push_back(None(u"HTML in the heap", {Binary(pid::kHtml, "<p>")}));
    cases.push_back(None(u"None", {}));

    cases.push_back(Html(u"HTML without a code page", "<p>caf\xE9 \x81</p>", std::nullopt));
    cases.push_back(Html(u"UTF-8", "<p>caf\xC3\xA9</p>", 65001));
    cases.push_back(Html(u"Broken UTF-8", "<p>\xC3( \xFF \xED\xA0\x80 \xF0\x9F</p>\xE2\x82", 65001));
    cases.push_back(Html(u"Shift-JIS", "<p>\x93\xFA\x96\x7B \x5C ~ \xFD \x93</p>", 932));
    cases.push_back(Html(u"Latin 2", "<p>\xB9\xE6\xEA\xB3\xF1\xF3\xB6 \x80</p>", 28592));
    cases.push_back(Html(u"Unknown code page", "<p>caf\xE9</p>", kUnknownPage));
    std::string page;
    while (page.size() < 9000)
        page += "<p>\xC5\x82\xC3\xB3" + std::to_string(page.size()) + "</p>";
    cases.push_back(Html(u"HTML in a tree", page.substr(0, 2001), 65001, 333));
    cases.push_back(Html(u"HTML in a tree of trees", page, 65001, 333));
    return cases;
}

/// Which of several bodies is kept. Of mails of more than 4 MB that is the plain text, but for large pages.
std::vector<BodyCase> ChoiceCases(Variant variant)
{
    constexpr std::uint32_t kFourMegabytes = 4 << 20;
    const StoreProperty plain = InSubnode(Text(pid::kBody, u"plain")), heapPlain = Text(pid::kBody, u"small");
    const StoreProperty html = InSubnode(Binary(pid::kHtml, "<p>html")), heapHtml = Binary(pid::kHtml, "<p>");
    const StoreProperty rtf = InSubnode(Binary(pid::kRtfCompressed, std::string(5000, 'r')));
    const StoreProperty large = Number(pid::kMessageSize, kFourMegabytes + 1);
    std::vector<BodyCase> cases = {Last(u"4 MB", {plain, Number(pid::kMessageSize, kFourMegabytes), html}),
                                   variant == Variant::Unicode4k ? Last(u"Larger", {plain, large, html})
                                                                 : Last(u"Larger", {html, large, plain})};
    if (variant != Variant::Unicode)
        return cases;
    StoreProperty nowhere = Binary(pid::kHtml, "");
    nowhere.hnid = 0x9F3F;
    cases.push_back(Last(u"HTML in no subnode", {nowhere, plain}));
    cases.push_back(Last(u"HTML in a subnode without a block", {nowhere, plain}));
    cases.back().subnodes = {{0x9F3F, 0xFFFF0, 0}};
    cases.push_back(None(u"Large without plain text", {large, html, InSubnode(Text(pid::kBody, u""))}));
    cases.push_back(Last(u"RTF is never read from a subnode", {rtf, heapPlain}));
    cases.push_back(Last(u"The last body decides the place", {heapPlain, rtf, html}));
    cases.push_back(Last(u"HTML does not decide the place", {html, heapPlain}));
    cases.push_back(None(u"HTML is never read from the heap", {heapHtml, rtf}));
    cases.push_back(None(u"HTML alone in a subnode", {html}));
    return cases;
}

class Bodies : public testing::TestWithParam<Variant> {};

TEST_P(Bodies, ComeFromWhereverTheyLay)
{
    StoreFormat storeFormat = FormatOf(GetParam());
    storeFormat.childrenPerBlock = 7;
    std::vector<BodyCase> cases = CommonCases();
    for (BodyCase& choice : ChoiceCases(GetParam()))
        cases.push_back(std::move(choice));
    ExpectBodies(Recover(storeFormat, cases), cases);
}

INSTANTIATE_TEST_SUITE_P(Variants, Bodies, testing::ValuesIn(kAllVariants), NameOfVariant);

TEST(BodyChoice, HtmlDecidesWhereABodyOfAnOstLies)
{
    const StoreProperty html = InSubnode(Binary(pid::kHtml, "<p>html"));
    const std::vector<BodyCase> cases = {Last(u"Two", {Text(pid::kBody, u"small"), html}),
                                         Last(u"One", {html})};
    ExpectBodies(Recover({.ost = true}, cases), cases);
}

/// Of a heap of several blocks the first one is read: it has what a folder needs, and a mail's subject.
TEST(BodyChoice, WhatALaterHeapBlockHoldsCostsNoMore)
{
    const auto fill = [](std::vector<StoreProperty>& properties, std::uint16_t first) {
        for (std::uint16_t i = 0; i < 3; ++i)
            properties.push_back(Binary(static_cast<std::uint16_t>(first + i), FixedBytes(i, 3500)));
    };
    StoreDescription description;
    description.format.spillHeaps = true;
    StoreMessage mail = Mail(u"Spilled", u"Ada Brook", u"Body", FileTime(2020, 1, 1));
    mail.attachments = {{.fileName = u"kept.bin", .data = FixedBytes(7, 200)}};
    fill(mail.properties, 0x0F10);
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note", .messages = {mail}};
    fill(inbox.properties, 0x3F10);
    description.folders = {inbox};
    const auto repair = RepairOf(description);
    const std::vector<FoundItem> items = ReadNewStore(repair->state.outputPath);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_TRUE(items[0].folder.ends_with("/Inbox")) << items[0].folder;
    EXPECT_EQ(FindValue(items[0], pid::kBody), nullptr) << "the case needs a body in the second block";
    ASSERT_EQ(items[0].attachments.size(), 1u);
    EXPECT_TRUE(items[0].attachments[0].data == FixedBytes(7, 200));
}

TEST(BodyChoice, FiveMegabytesComeBackWhole)
{
    constexpr std::size_t kSize = 5 << 20;
    std::string page = "<p>";
    page.reserve(kSize + 20);
    while (page.size() < kSize)
        page += "line " + std::to_string(page.size()) + " \xC3\xA9\r\n";
    const std::vector<BodyCase> cases = {Html(u"Large", page, 65001)};
    StoreDescription description;
    description.folders = {{.name = u"Inbox", .messages = {MailWith(cases[0])}}};
    // Its true size would choose the plain text.
    description.folders[0].messages[0].properties.push_back(Number(pid::kMessageSize, 1000));
    const auto repair = RepairOf(description);
    ExpectBodies(ReadNewStore(repair->state.outputPath), cases);
}

}  // namespace
}  // namespace pastille::tests
