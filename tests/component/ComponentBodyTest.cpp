#include <vector>

#include "component/pst/messaging/RtfStream.h"
#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "tests/component/ComponentFixture.h"
#include "tests/component/StoreOnDisk.h"

namespace pastille::tests {
namespace {

using namespace writer;
using namespace component::pst;
namespace p = writer::property;
namespace pid = format::pid;

class ComponentBodies : public CComponentFixture {
protected:
    void SetUp() override { CreateStore(); }

    /// What the file holds of a property of each message.
    std::vector<std::vector<std::byte>> StoredBytes(std::uint16_t id)
    {
        StoreOnDisk disk(StorePath());
        std::vector<std::vector<std::byte>> stored;
        for (const NodeRecord& message : disk.Messages()) {
            const auto value = CPropertyReader(disk.reader, message).Read(id, 1u << 30);
            stored.push_back(value ? value->bytes : std::vector<std::byte>());
        }
        return stored;
    }
};

std::vector<std::byte> BytesOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

std::u16string Widened(std::span<const std::byte> bytes)
{
    std::u16string text;
    for (const std::byte b : bytes)
        text.push_back(static_cast<char16_t>(b));
    return text;
}

TEST_F(ComponentBodies, HtmlKeepsItsCodePageAndItsBytes)
{
    struct Case {
        std::int32_t codePage;
        std::string bytes;
    };
    std::string all = "<p>";
    for (int i = 1; i < 256; ++i)
        all.push_back(static_cast<char>(i));
    const std::vector<Case> cases{
        {1252, all},
        {1251, all},
        {28592, all},
        {20127, all},
        {874, all},
        {10000, all},
        {65001, "<p>\xC3\xA4 \xE6\xBC\xA2 \xF0\x9F\x98\x80 broken \xE6\xBC \xC3 \x80\xFF cut \xF0\x9F"},
        {932, "<p>\x93\xFA\x96\x7B broken \x81\x20 \xFF\xFE cut \x93"},
        {936, "<p>\xC4\xE3\xBA\xC3 broken \x81\x20 \xFF cut \xC4"},
        {949, "<p>\xB0\xA1\xB0\xA2 broken \x81\x20 \xFF cut \xB0"},
        {950, "<p>\xA7\x41\xA6\x6E broken \x81\x20 \xFF cut \xA7"},
        {50220, "<p>\x1B$BF|K\\\x1B(B and on"},
        {1252, std::string(200'000, '\xE4')},
    };
    for (const Case& each : cases) {
        const auto item = AddItem(root, u"IPM.Note");
        const platform::CCodePage page(platform::CodePageName(static_cast<std::uint32_t>(each.codePage)));
        item->SetNumber(p::InternetCodepage, each.codePage);
        item->SetText(p::HtmlBody, page.ToUtf16(BytesOf(each.bytes)));
        item->Save();
    }
    Reopen();
    const auto stored = StoredBytes(pid::kHtml);
    const auto items = root->GetItems();
    auto item = items->GetFirst();
    for (std::size_t i = 0; i < cases.size(); ++i, item = items->GetNext()) {
        SCOPED_TRACE(cases[i].codePage);
        EXPECT_EQ(stored.at(i), BytesOf(cases[i].bytes));
        EXPECT_EQ(item->GetNumber(p::InternetCodepage), cases[i].codePage);
    }
    EXPECT_EQ(items->GetFirst()->GetText(p::HtmlBody).substr(3 + 0xE3, 1), u"\u00E4");
}

TEST_F(ComponentBodies, HtmlOfNoOrAnUnknownCodePageIsUtf8)
{
    for (const std::int32_t codePage : {-1, 0, 1200, 99999}) {
        const auto item = AddItem(root, u"IPM.Note");
        if (codePage >= 0)
            item->SetNumber(p::InternetCodepage, codePage);
        item->SetText(p::HtmlBody, u"\u00E4\u6F22");
        EXPECT_EQ(item->GetNumber(p::InternetCodepage), 65001);
        EXPECT_EQ(item->GetText(p::HtmlBody), u"\u00E4\u6F22");
        item->Save();
    }
    const auto bare = AddItem(root, u"IPM.Note");
    bare->SetText(p::HtmlBody, u"");
    EXPECT_EQ(bare->GetNumber(p::InternetCodepage), 0) << "no body needs no code page";
    Reopen();
    EXPECT_EQ(StoredBytes(pid::kHtml).at(2), BytesOf("\xC3\xA4\xE6\xBC\xA2"));
}

TEST_F(ComponentBodies, RtfIsKeptCompressed)
{
    const std::string rtf = "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n";
    std::string large = "{\\rtf1 ";
    for (int i = 0; i < 60'000; ++i)
        large += "\\par line " + std::to_string(i * 31L % 997) + "\r\n";
    const auto compressed = CompressRtf(BytesOf(rtf));
    auto damaged = compressed;
    damaged[13] ^= std::byte{1};  // the CRC
    std::vector<std::byte> stored = BytesOf("\x14...\x08...MELA....{\\rtf1 }");
    for (const std::size_t at : {1u, 2u, 3u, 5u, 6u, 7u, 12u, 13u, 14u, 15u})
        stored[at] = std::byte{0};

    const std::vector<std::vector<std::byte>> given{BytesOf(rtf), compressed, damaged, stored,
                                                    BytesOf(large)};
    const std::vector<std::vector<std::byte>> kept{compressed, compressed, compressed, stored,
                                                   CompressRtf(BytesOf(large))};
    const std::vector<std::string> read{rtf, rtf, rtf, "{\\rtf1 }", large};
    for (const auto& bytes : given) {
        const auto item = AddItem(root, u"IPM.Note");
        item->SetText(p::RtfBody, Widened(bytes));
        item->Save();
    }
    Reopen();
    ExpectSoundStore(StorePath());
    EXPECT_TRUE(StoredBytes(pid::kRtfCompressed) == kept);
    const auto items = root->GetItems();
    auto item = items->GetFirst();
    for (std::size_t i = 0; i < read.size(); ++i, item = items->GetNext())
        EXPECT_TRUE(item->GetText(p::RtfBody) == Widened(BytesOf(read[i]))) << i;
}

/// Surrogate pairs at odd places, so that no piece of even length ends between two characters.
std::u16string LongText(std::size_t units, char16_t mark)
{
    std::u16string text(1, mark);
    while (text.size() < units)
        text += u"\U0001F600";
    return text;
}

TEST_F(ComponentBodies, LongTextsAreWrittenAtOnceAndReplacedWithoutTrace)
{
    const auto item = AddItem(root, u"IPM.Note", u"long");
    const auto never = AddItem(root, u"IPM.Note", u"never saved");
    never->SetText(p::Body, LongText(500'000, u'n'));
    for (const std::size_t units : {200'001u, 10u, 1790u, 1791u, 400'001u, 100'001u}) {
        const auto text = LongText(units, static_cast<char16_t>(u'a' + units % 26));
        item->SetText(p::Body, text);
        item->SetText(p::HtmlBody, text);
        item->SetText(p::DisplayTo, text);
        EXPECT_TRUE(item->GetText(p::Body) == text) << units;
        EXPECT_TRUE(item->GetText(p::HtmlBody) == text) << units;
        item->Save();
        store->Commit();
        ExpectSoundStore(StorePath());
        EXPECT_TRUE(item->GetText(p::Body) == text) << units;
    }
    item->SetText(p::Subject, u"saved with the long texts of before");
    item->Save();
    Reopen();
    ExpectSoundStore(StorePath());
    const auto found = root->GetItems()->GetFirst();
    const auto text = LongText(100'001, static_cast<char16_t>(u'a' + 100'001 % 26));
    EXPECT_TRUE(found->GetText(p::Body) == text);
    EXPECT_TRUE(found->GetText(p::HtmlBody) == text);
    EXPECT_TRUE(found->GetText(p::DisplayTo) == text);
    EXPECT_EQ(StoredBytes(pid::kBody).at(0).size(), 2 * text.size());
}

}  // namespace
}  // namespace pastille::tests
