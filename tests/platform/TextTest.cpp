#include "platform/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

namespace pastille::platform {
namespace {

std::vector<std::byte> AllBytes()
{
    std::vector<std::byte> bytes;
    for (unsigned i = 0; i < 256; ++i)
        bytes.push_back(static_cast<std::byte>(i));
    return bytes;
}

std::vector<std::byte> BytesOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

TEST(Utf8, CarriesEveryPlaneAndReplacesWhatIsBroken)
{
    const std::u16string text = u"A\u00E9\u20AC\U0001F600";
    EXPECT_EQ(ToUtf8(text), "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(FromUtf8(ToUtf8(text)), text);

    EXPECT_EQ(ToUtf8(std::u16string{u'x', 0xD800, u'y'}), "x\xEF\xBF\xBDy");
    EXPECT_EQ(ToUtf8(std::u16string{0xDC00}), "\xEF\xBF\xBD");
    EXPECT_EQ(FromUtf8("a\xFFz"), u"a\uFFFDz");
}

TEST(CodePage, DoubleByteTextAndItsBrokenSequences)
{
    const CCodePage codePage("windows-932");
    const auto japanese = BytesOf("\x93\xFA\x96\x7B");
    EXPECT_EQ(codePage.ToUtf16(japanese), u"\u65E5\u672C");

    const auto broken = BytesOf("ab\x81");  // a lead byte with nothing behind it
    const std::u16string text = codePage.ToUtf16(broken);
    EXPECT_EQ(text.substr(0, 2), u"ab");
    EXPECT_EQ(BytesOf(codePage.FromUtf16(text)), broken);
}

TEST(CodePage, LackingCharactersBecomeQuestionMarks)
{
    EXPECT_EQ(CCodePage("windows-1252").FromUtf16(u"a\u65E5b"), "a?b");
}

TEST(CodePage, UnknownNames)
{
    EXPECT_FALSE(CCodePage::IsKnown("no-such-page"));
    EXPECT_FALSE(CCodePage::IsKnown(""));
    EXPECT_TRUE(CCodePage::IsKnown("windows-1252"));
    EXPECT_THROW(CCodePage("no-such-page"), std::invalid_argument);
}

TEST(CodePageNumbers, NameAndNumberOfThePagesOfMails)
{
    EXPECT_EQ(CodePageName(65001), "UTF-8");
    for (const std::uint32_t number :
         {1250u,  1251u,  1252u,  1253u,  1254u,  1255u,  1256u,  1257u,  1258u,  874u,   932u,
          936u,   949u,   950u,   20127u, 28591u, 28592u, 28593u, 28594u, 28595u, 28596u, 28597u,
          28598u, 28599u, 28603u, 28605u, 20866u, 21866u, 51932u, 51949u, 54936u, 10000u, 65001u})
        EXPECT_EQ(CodePageNumber(CodePageName(number)), number);
    // Shift states are kept as the bytes that they are.
    for (const std::uint32_t number : {50220u, 50221u, 50222u, 50225u})
        EXPECT_EQ(CodePageName(number), "US-ASCII");
    EXPECT_EQ(CodePageNumber("Windows-1252"), 1252u);
    EXPECT_EQ(CodePageNumber("cp1252"), 1252u);
    EXPECT_EQ(CodePageNumber("latin1"), 28591u);
    EXPECT_EQ(CodePageNumber("shift_jis"), 932u);
    for (const std::uint32_t number : {0u, 1u, 1200u, 28602u, 99999u, 0xFFFFFFFFu})
        EXPECT_EQ(CodePageName(number), "");
    EXPECT_EQ(CodePageNumber("no-such-page"), 0u);
    EXPECT_EQ(CodePageNumber(""), 0u);
}

TEST(CodePageNumbers, NamesAreTheSameOnEveryHost)
{
    struct {
        const char* name;
        std::uint32_t number;
    } constexpr kNames[]{
        {"csISOLatin1", 28591},
        {"ISO_8859-1:1987", 28591},
        {"iso-ir-100", 28591},
        {"IBM819", 28591},
        {"iso8859_15", 28605},
        {"Latin-9", 28605},
        {"csISOLatinCyrillic", 28595},
        {"iso-8859-8-i", 38598},
        {"ISO_646.irv:1991", 20127},
        {"ANSI_X3.4-1968", 20127},
        {"cp367", 20127},
        {"Windows-31J", 932},
        {"x-sjis", 932},
        {"cp932", 932},
        {"ms936", 936},
        {"ks_c_5601-1987", 949},
        {"csEUCKR", 51949},
        {"csBig5", 950},
        {"cp1252", 1252},
        {"1252", 1252},
        {"x-cp1250", 1250},
        {"cswindows1251", 1251},
        {"IBM850", 850},
        {"ibm-866", 866},
        {"csIBM866", 866},
        {"CP00850", 850},
        {"koi", 20866},
        {"utf8", 65001},
        {"cp65001", 65001},
        {"mac", 10000},
        {"TIS-620", 874},
        {"50220", 20127},
        // Of other computers, with shift states or without single bytes, or no names at all.
        {"IBM037", 0},
        {"ebcdic-cp-us", 0},
        {"UTF-16", 0},
        {"UTF-7", 0},
        {"ISO-2022-JP", 0},
        {"cp", 0},
        {"-", 0},
        {"8859", 0},
        {"1252x", 0},
        {"0x4E4", 0},
        {"99999999999999", 0},
    };
    for (const auto& [name, number] : kNames) {
        EXPECT_EQ(CodePageNumber(name), number) << name;
        EXPECT_EQ(CCodePage::IsKnown(name), number != 0) << name;
    }
}

/// Text with sound, broken, cut and private-use sequences of most multi-byte pages.
std::vector<std::byte> Jumble(unsigned seed, std::size_t size)
{
    std::vector<std::byte> bytes;
    while (bytes.size() < size) {
        seed = seed * 1103515245 + 12345;
        const unsigned kind = (seed >> 16) % 8;
        if (kind < 3)
            bytes.push_back(static_cast<std::byte>('a' + (seed >> 20) % 26));
        else if (kind < 6)
            bytes.push_back(static_cast<std::byte>(seed >> 18));
        else  // U+F700 and its neighbours as UTF-8, and as Big5 user characters
            for (const unsigned b :
                 {0xEFu, 0x9Cu, 0x80u + (seed >> 24) % 64, 0xC7u, 0x40u + (seed >> 24) % 63})
                bytes.push_back(static_cast<std::byte>(b));
    }
    return bytes;
}

/// The sequences of a page that stand for the same character as another one.
bool HasSpareSequences(std::uint32_t number)
{
    return number == 932 || number == 936 || number == 949 || number == 950 || number == 51932 ||
           number == 51949;
}

std::u16string DecodeInPieces(const CCodePage& codePage, std::span<const std::byte> bytes, std::size_t piece)
{
    CTextDecoder decoder(codePage);
    std::u16string text;
    for (std::size_t done = 0; done < bytes.size(); done += piece)
        decoder.Append(bytes.subspan(done, std::min(piece, bytes.size() - done)), text);
    decoder.Finish(text);
    return text;
}

TEST(CodePageNumbers, EveryByteOfEveryPageSurvives)
{
    for (std::uint32_t number = 0; number < 66000; ++number) {
        const std::string name = CodePageName(number);
        if (name.empty())
            continue;
        SCOPED_TRACE(name);
        const CCodePage codePage(name);
        const auto jumble = Jumble(number, 5'000);
        const std::u16string text = codePage.ToUtf16(jumble);
        const auto written = BytesOf(codePage.FromUtf16(text));
        if (HasSpareSequences(number)) {
            EXPECT_TRUE(codePage.ToUtf16(written) == text);
            const auto broken =
                BytesOf("sound \xB0\xA1\xB0\xA1 \x81\x20\xFF\xFE\x80\x09 end \xA1\n\xB0\xA1\x81");
            EXPECT_EQ(BytesOf(codePage.FromUtf16(codePage.ToUtf16(broken))), broken);
        } else {
            EXPECT_TRUE(written == jumble);
            EXPECT_EQ(BytesOf(codePage.FromUtf16(codePage.ToUtf16(AllBytes()))), AllBytes());
        }
        for (const std::size_t piece : {1u, 3u, 4096u})
            EXPECT_TRUE(DecodeInPieces(codePage, jumble, piece) == text) << piece;
    }
}

TEST(LooksLikeText, NamesOfAnyScriptPassAndGarbageDoesNot)
{
    for (const char16_t* name : {u"Inbox", u"\u5BB6\u65CF\u306E\u5199\u771F", u"\u0412\u0445\u043E\u0434",
                                 u"a\tb", u"\U0001F4EC", u"\uFEFF\u00C9t\u00E9"})
        EXPECT_TRUE(LooksLikeText(name)) << ToUtf8(name);

    EXPECT_FALSE(LooksLikeText(u""));
    EXPECT_FALSE(LooksLikeText(std::u16string(5, u'\0')));
    EXPECT_FALSE(LooksLikeText(std::u16string{0xD801, 0xD802, u'x'}));
    EXPECT_FALSE(LooksLikeText(std::u16string{0xFFFF, 0xFFFE, 0x0001}));
    // In the other byte order these are letters.
    EXPECT_TRUE(LooksLikeText(std::u16string{0x4900, 0x6E00, 0x6200}));
}

}  // namespace
}  // namespace pastille::platform
