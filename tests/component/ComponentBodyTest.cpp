#include "component/pst/messaging/RtfStream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/format/Hex.h"
#include "tests/scenario/NewStore.h"
#include "tests/support/StoreDescription.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;
namespace pid = format::pid;

class ComponentBodies : public CComponentStoreFixture {
protected:
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

using namespace component::pst;

Bytes BytesOf(const std::string& text)
{
    return Binary(0, text).value;
}

std::string Narrow(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A stream with a right header around any contents.
Bytes Stream(const std::string& type, const Bytes& contents, std::uint32_t rawSize)
{
    Bytes bytes(16);
    format::StoreLE(bytes, 0, static_cast<std::uint32_t>(contents.size() + 12));
    format::StoreLE(bytes, 4, rawSize);
    std::ranges::copy(BytesOf(type), bytes.begin() + 8);
    format::StoreLE(bytes, 12, type == "LZFu" ? format::ComputeCrc(contents) : 0);
    bytes.insert(bytes.end(), contents.begin(), contents.end());
    return bytes;
}

// The published examples. [MS-OXRTFCP] 4
const std::string kPlain = "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n";
const char* const kPlainStream =
    "2d0000002b0000004c5a4675f1c5c7a703000a007263706731323542320af3206865"
    "6c090020627705b06c647d0a800fa0";
const std::string kCrossing = "{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}";
const char* const kCrossingStream = "1a0000001c0000004c5a4675e2d44b51410004205758595a0d6e7d010eb0";

TEST(RtfStream, PublishedExamplesBothWays)
{
    for (const auto& [text, stream] : {std::pair{kPlain, kPlainStream}, {kCrossing, kCrossingStream}}) {
        EXPECT_EQ(CompressRtf(BytesOf(text)), FromHex(stream));
        EXPECT_EQ(Narrow(DecompressRtf(FromHex(stream))), text);
        EXPECT_TRUE(IsRtfStream(FromHex(stream)));
    }
}

TEST(RtfStream, AnyBytesComeBack)
{
    unsigned seed = 1;
    for (const unsigned letters : {1u, 2u, 16u, 256u})
        for (const std::size_t size : {1u, 2u, 3u, 8u, 17u, 18u, 3889u, 3890u, 4096u, 4097u, 50'000u}) {
            std::string text;
            while (text.size() < size)
                text.push_back(static_cast<char>(((seed = seed * 1103515245 + 12345) >> 16) % letters));
            const auto stream = CompressRtf(BytesOf(text));
            EXPECT_TRUE(IsRtfStream(stream));
            EXPECT_TRUE(Narrow(DecompressRtf(stream)) == text) << letters << " " << size;
        }
    std::string periodic;  // with a period of just under, at and over the ring
    for (const std::size_t period : {4094u, 4095u, 4096u, 4097u}) {
        periodic.clear();
        for (std::size_t i = 0; i < 5 * period; ++i)
            periodic.push_back(static_cast<char>((i % period) * (i % period) >> 3));
        EXPECT_TRUE(Narrow(DecompressRtf(CompressRtf(BytesOf(periodic)))) == periodic) << period;
    }
}

TEST(RtfStream, CompressingTakesTimeInProportion)
{
    // Every place of such a text has thousands of earlier ones that begin alike.
    std::string text;
    for (unsigned seed = 1; text.size() < 2'000'000;)
        text += ((seed = seed * 1103515245 + 12345) >> 20) % 2 ? "aaaaaaab" : "aaaaaaac";
    const auto start = std::chrono::steady_clock::now();
    const auto stream = CompressRtf(BytesOf(text));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_LT(stream.size(), text.size() / 2);
}

TEST(RtfStream, DamagedOnesGiveWhatTheyHold)
{
    auto stored = Stream("MELA", BytesOf("{\\rtf1 x}"), 9);
    EXPECT_TRUE(IsRtfStream(stored));
    EXPECT_EQ(Narrow(DecompressRtf(stored)), "{\\rtf1 x}");
    format::StoreLE(stored, 4, 0xFFFFFFFFu);
    EXPECT_FALSE(IsRtfStream(stored));
    EXPECT_EQ(Narrow(DecompressRtf(stored)), "{\\rtf1 x}");

    const auto sound = CompressRtf(BytesOf(kPlain));
    for (std::size_t size = 0; size < sound.size(); ++size) {
        const auto cut = std::vector(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(IsRtfStream(cut));
        if (size >= 16) {
            EXPECT_TRUE(kPlain.starts_with(Narrow(DecompressRtf(cut)))) << size;
        }
    }
    for (std::size_t at = 0; at < sound.size(); ++at) {
        auto broken = sound;
        broken[at] ^= std::byte{0x40};
        EXPECT_FALSE(IsRtfStream(broken) && at != 4 && at != 5 && at != 6 && at != 7) << at;
        EXPECT_LE(DecompressRtf(broken).size(), 9 * broken.size());
    }
    // No end marker, and sizes that promise more than there is.
    auto lying = Stream("LZFu", Bytes(9 * 1000, std::byte{0xFF}), 0xFFFFFFFF);
    format::StoreLE(lying, 0, 0xFFFFFFFFu);
    EXPECT_FALSE(IsRtfStream(lying));
    EXPECT_LE(DecompressRtf(lying).size(), 9 * lying.size());
    EXPECT_EQ(Narrow(DecompressRtf(BytesOf("{\\rtf1 no stream at all}"))), "{\\rtf1 no stream at all}");
}

}  // namespace
}  // namespace pastille::tests
