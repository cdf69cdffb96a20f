#include <gtest/gtest.h>

#include <chrono>

#include "platform/Text.h"
#include "preview/HtmlText.h"
#include "preview/RtfText.h"

namespace pastille::tests {
namespace {

using preview::HtmlToText;
using preview::RtfToText;

constexpr std::size_t kMuch = 1u << 20;

struct Case {
    std::u16string source;
    std::u16string text;
};

TEST(BodyTextTest, RtfIsReadAsItsReadersShowIt)
{
    const Case cases[] = {
        {u"{\\rtf1\\ansi one\\par two\\line\r\nthree\\tab four\\par}", u"one\ntwo\nthree\tfour"},
        {u"a\\{b\\}c\\\\d\\~e\\emdash f\\ldblquote g\\rdblquote", u"a{b}c\\d\u00A0e\u2014f\u201Cg\u201D"},
        // Bytes in the document's code page, and in that of the font.
        {u"{\\rtf1\\ansicpg1251 \\'cf\\'f0\\u233?\\'e8}", u"Пр\u00E9и"},
        {u"{\\rtf1\\ansicpg1252{\\fonttbl{\\f0\\fcharset0 Arial;}{\\f7\\fcharset204 Arial;}}"
         u"\\f0 \\'e9{\\f7 \\'e9}\\'e9}",
         u"\u00E9й\u00E9"},
        {u"{\\rtf1\\ansicpg932 \\'93\\'fa\\'96{\\b\\'7b}}", u"日\uF796{"},
        {u"{\\rtf1\\ansicpg932 \\'93\\'fa\\'83A}", u"日ア"},
        {u"{\\rtf1\\ansicpg99999 \\'e9}", u"\u00E9"},
        // What readers without Unicode show instead is left out, of any length.
        {u"\\u8364?x\\uc2\\u8364\\'80\\'80x{\\uc0\\u8364 x}\\u8364ab\\u-10179??\\u-8704??",
         u"€x€x€x€\U0001F600"},
        {u"\\u8364{?}x\\u8364\\par\\u8364", u"€?x€€"},
        {u"one{\\fonttbl{\\f0 Arial;}}{\\colortbl;\\red1;}{\\*\\unknown{a}b}{\\pict\\bin4 "
         u"}}}}}{\\info{\\title t}}two",
         u"onetwo"},
        {u"seen{\\v hidden}{\\v0 and\\v1 not\\plain  this}", u"seenand this"},
        {u"{\\field{\\*\\fldinst{HYPERLINK \"http://x\"}}{\\fldrslt link}}", u"link"},
        // Made from HTML: the tags are left out, and what stands for them in RTF is shown.
        {u"{\\rtf1\\ansi\\fromhtml1{\\*\\htmltag64 <p>}\\htmlrtf {\\htmlrtf0 one\\htmlrtf\\par}\\htmlrtf0\r\n"
         u"{\\*\\htmltag84 &nbsp;}\\htmlrtf \\'a0\\htmlrtf0 two{\\*\\htmltag72 </p>}}",
         u"one\n\u00A0two"},
        // Damage.
        {u"}}}{\\rtf1 a}}b{{{{", u"ab"},
        {u"a\\'4", u"a4"},
        {u"a\\'zzb\\", u"azzb"},
        {u"a\\bin99999999999999 b", u"ab"},
        {u"a\\bin2147483647 b", u"a"},
        {u"no RTF at all", u"no RTF at all"},
        {u"", u""},
    };
    for (const Case& one : cases)
        EXPECT_EQ(platform::ToUtf8(RtfToText(one.source, kMuch)), platform::ToUtf8(one.text))
            << platform::ToUtf8(one.source);
}

TEST(BodyTextTest, HtmlIsReducedToItsText)
{
    const Case cases[] = {
        {u"<html><head><title>t</title><style>p{}</style></head><body><p>one\n  <b>two</b> "
         u"</p><div>three</div>x",
         u"one two\nthree\nx"},
        {u"a<br>b<BR/>c<ul><li>d<li>e</ul>f", u"a\nb\nc\n\u2022 d\n\u2022 e\nf"},
        {u"<table><tr><td>a</td><td>b</td></tr><tr><td>c <td>d</table>", u"a\tb\nc\td\n"},
        {u"<pre>a\n  b</pre>c", u"a\n  b\nc"},
        {u"&lt;p&gt; &amp;amp; &eacute;&#233;&#xE9;&#128512;&nbsp;x &nosuch; & &;",
         u"<p> &amp; \u00E9\u00E9\u00E9\U0001F600 x &nosuch; & &;"},
        {u"a<!-- <p>b --><!doctype c><?d ?>e<script>f<p></script >g<SCRIPT>h</script>", u"aeg"},
        {u"<a href='>'title=\"a>b\">c</a>1 < 2 <3", u"c1 < 2 <3"},
        {u"a<script>b<!-- c", u"a"},
        {u"a<!-- b", u"a"},
        {u"a<p title='b", u"a\n"},
        {u"", u""},
    };
    for (const Case& one : cases)
        EXPECT_EQ(platform::ToUtf8(HtmlToText(one.source)), platform::ToUtf8(one.text))
            << platform::ToUtf8(one.source);
}

TEST(BodyTextTest, HostileTextTakesTimeInProportionOnly)
{
    const auto many = [](std::u16string_view piece) {
        std::u16string text;
        while (text.size() < kMuch / 4)
            text += piece;
        return text;
    };
    const auto begin = std::chrono::steady_clock::now();
    for (const std::u16string_view piece : {u"{", u"}", u"{\\*", u"\\'", u"\\u", u"\\bin",
                                            u"\\ansicpg1251\\'e9", u"{\\fonttbl\\f1\\fcharset204 "})
        RtfToText(many(piece), kMuch);
    EXPECT_LE(RtfToText(many(u"x"), 1000).size(), 1100u);
    for (const std::u16string_view piece :
         {u"<", u"<div>", u"<!--", u"<script>", u"</", u"&", u"&a", u"&eacute;", u"<p a='", u"<table><td>"})
        HtmlToText(many(piece));
    std::u16string names;
    for (int i = 0; i < 200'000; ++i)
        names += u"&x" + platform::FromUtf8(std::to_string(i)) + u";";
    HtmlToText(names);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

}  // namespace
}  // namespace pastille::tests
