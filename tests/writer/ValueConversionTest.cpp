#include "writer/ValueConversion.h"

#include <gtest/gtest.h>

#include "tests/writer/WriterSupport.h"
#include "writer/OleDate.h"

namespace pastille::tests {
namespace {

using namespace writer;

constexpr std::uint16_t kString8 = 0x001E;
constexpr std::uint16_t kMultipleString8 = 0x101E;
constexpr std::uint16_t kMultipleString = 0x101F;
constexpr std::uint64_t kDay = 864'000'000'000;
/// Days from 1601-01-01 to 1899-12-30.
constexpr std::uint64_t kEpochDays = 109'205;

std::u16string TextOfBytes(std::uint16_t type, std::string bytes)
{
    CValueSource source;
    return TextOf(source, {0x3001, type, source.Add(std::move(bytes))});
}

TEST(ValueText, FollowsTheType)
{
    EXPECT_EQ(TextOfBytes(kString, Wide(u"na\u00EFve") + "\x41"), u"na\u00EFve")
        << "an odd last byte is left out";
    EXPECT_EQ(TextOfBytes(kString8, "caf\xE9"), u"caf\u00E9");
    EXPECT_EQ(TextOfBytes(0x0102, "bytes"), u"");
    CValueSource source;
    EXPECT_EQ(TextOf(source, {0x3001, kString, 0x20}), u"") << "no such allocation";
}

TEST(ValueText, MultipleValuesAreJoined)
{
    const std::string three = Packed(3u) + Packed(16u) + Packed(18u) + Packed(22u) + Wide(u"abbc");
    EXPECT_EQ(TextOfBytes(kMultipleString, three), u"a;bb;c");
    EXPECT_EQ(TextOfBytes(kMultipleString, Packed(1u) + Packed(8u) + Wide(u"one")), u"one");
    EXPECT_EQ(TextOfBytes(kMultipleString8, Packed(1u) + Packed(8u) + "\xE9l"), u"\u00E9l");
    EXPECT_EQ(TextOfBytes(kMultipleString8, Packed(2u) + Packed(12u) + Packed(13u) + "xyz"), u"x;yz");
}

TEST(ValueText, DamagedMultipleValuesStaySmall)
{
    EXPECT_EQ(TextOfBytes(kMultipleString, ""), u"");
    EXPECT_EQ(TextOfBytes(kMultipleString, Packed(0xFFFFFFFFu) + Wide(u"abc")), u"")
        << "count beyond the bytes";
    const std::string beyond = Packed(2u) + Packed(12u) + Packed(0x7FFFFFFFu) + Wide(u"ab");
    EXPECT_EQ(TextOfBytes(kMultipleString, beyond), u";");
    // A thousand values that all claim the whole allocation.
    std::string overlapping = Packed(1000u);
    for (int i = 0; i < 1000; ++i)
        overlapping += Packed(i % 2 == 0 ? 4u : 4004u);
    EXPECT_LE(TextOfBytes(kMultipleString, overlapping).size(), 3 * overlapping.size());
}

TEST(ValueDate, IsTheStoredTimeInDaysSince1899)
{
    CValueSource source;
    const auto date = [&](std::string bytes) {
        return DateOf(source, {0x0E06, kTime, source.Add(std::move(bytes))});
    };
    EXPECT_DOUBLE_EQ(date(Packed(kEpochDays * kDay)), 0.0);
    EXPECT_DOUBLE_EQ(date(Packed((kEpochDays + 46'000) * kDay + kDay / 4)), 46'000.25);
    EXPECT_DOUBLE_EQ(date(Packed(std::uint64_t{0})), -109'205.0);
    // Before the epoch the fraction is still the time of day: noon on 29 December 1899.
    EXPECT_DOUBLE_EQ(date(Packed((kEpochDays - 1) * kDay + kDay / 2)), -1.5);
    EXPECT_DOUBLE_EQ(date(Packed((kEpochDays + 2'958'465) * kDay)), 2'958'465.0) << "31 December 9999";
    for (const std::uint64_t beyond : {(kEpochDays + 2'958'466) * kDay, ~std::uint64_t{0} >> 1,
                                       (~std::uint64_t{0} >> 1) + 1, ~std::uint64_t{0}})
        EXPECT_DOUBLE_EQ(date(Packed(beyond)), 0.0) << "no calendar date: " << beyond;
    EXPECT_DOUBLE_EQ(date("1234567"), -109'205.0) << "not 8 bytes: 1 January 1601";
    EXPECT_DOUBLE_EQ(date("123456789"), -109'205.0);
    EXPECT_DOUBLE_EQ(DateOf(source, {0x0E06, 0x0003, 77}), 0.0) << "another type";
}

TEST(OleDate, KnownDatesBothWays)
{
    struct Case {
        int year, month, day;
        double date;
    };
    const Case cases[] = {{1899, 12, 30, 0.0},        {1900, 1, 1, 2.0},        {1970, 1, 1, 25'569.0},
                          {2026, 11, 22, 46'348.0},   {1601, 1, 1, -109'205.0}, {4500, 1, 1, kNoDate},
                          {9999, 12, 31, 2'958'465.0}};
    for (const Case& known : cases) {
        const CalendarDate calendar = CalendarDateOf(known.date);
        EXPECT_EQ(calendar.year, known.year) << known.date;
        EXPECT_EQ(calendar.month, known.month) << known.date;
        EXPECT_EQ(calendar.day, known.day) << known.date;
        EXPECT_DOUBLE_EQ(OleDateFromFileTime(FileTimeFromOleDate(known.date)), known.date);
    }
    EXPECT_EQ(CalendarDateOf(-1.5).day, 29) << "noon of the day before the epoch";
    EXPECT_EQ(FileTimeFromOleDate(-109'206.0), 0u) << "before 1601";
    EXPECT_EQ(FileTimeFromOleDate(1e300), 0u);
}

TEST(SubjectText, LeavesThePrefixMarkOut)
{
    EXPECT_EQ(SubjectText(u"\u0001\u0010Undeliverable: x"), u"Undeliverable: x");
    EXPECT_EQ(SubjectText(u"\u0001"), u"");
    EXPECT_EQ(SubjectText(u"plain"), u"plain");
}

}  // namespace
}  // namespace pastille::tests
