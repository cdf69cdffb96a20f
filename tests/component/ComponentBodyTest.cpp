#include "component/pst/messaging/RtfStream.h"
#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/component/SoundStore.h"
#include "tests/scenario/NewStore.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;
namespace pid = format::pid;

class ComponentBodies : public CComponentFixture {
protected:
    void SetUp() override { CreateStore(); }

    /// What the file holds of a property of the message of that number.
    Bytes StoredBytes(std::size_t number, std::uint16_t id)
    {
        const auto items = ReadNewStore(StorePath());
        const FoundValue* const value = FindValue(items.at(number), id);
        return value == nullptr ? Bytes() : value->bytes;
    }
};

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
    EXPECT_EQ(StoredBytes(2, pid::kHtml), Binary(0, "\xC3\xA4\xE6\xBC\xA2").value);
}

TEST_F(ComponentBodies, RtfIsKeptCompressed)
{
    const Bytes rtf = Binary(0, "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n").value;
    const Bytes compressed = component::pst::CompressRtf(rtf);
    Bytes damaged = compressed;
    damaged[13] ^= std::byte{1};  // the CRC
    for (const Bytes& given : {rtf, compressed, damaged}) {
        std::u16string text;
        for (const std::byte b : given)
            text.push_back(static_cast<char16_t>(b));
        const auto item = AddItem(root, u"IPM.Note");
        item->SetText(p::RtfBody, text);
        item->Save();
    }
    Reopen();
    for (const std::size_t number : {0u, 1u, 2u})
        EXPECT_EQ(StoredBytes(number, pid::kRtfCompressed), compressed) << number;
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
    EXPECT_EQ(StoredBytes(0, pid::kBody).size(), 2 * text.size());
}

}  // namespace
}  // namespace pastille::tests
