#include "recovery/AttachmentName.h"

#include <gtest/gtest.h>

#include "platform/Text.h"

namespace pastille::tests {
namespace {

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
