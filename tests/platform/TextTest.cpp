#include "platform/Text.h"

#include <gtest/gtest.h>

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

TEST(CodePage, EveryByteSurvivesBeingReadAndWritten)
{
    for (const char* name : {"windows-1252", "windows-1251", "iso-8859-7", "windows-874"}) {
        const CCodePage codePage(name);
        const auto bytes = AllBytes();
        const std::string back = codePage.FromUtf16(codePage.ToUtf16(bytes));
        EXPECT_EQ(BytesOf(back), bytes) << name;
    }
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
