#include "cli/ProgressLine.h"

#include "cli/TerminalText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

namespace pastille::tests {
namespace {

using cli::CProgressLine;
using namespace std::chrono_literals;

/// A progress line on a clock that the test moves.
struct CProgressFixture {
    std::ostringstream stream;
    std::chrono::steady_clock::time_point now{};
    CProgressLine line;

    explicit CProgressFixture(CProgressLine::Mode mode)
        : line(stream, mode, cli::kRepairCaptions, [this] { return now; })
    {
    }
    std::string Shown() const { return stream.str(); }
    std::ptrdiff_t Drawings() const { return std::ranges::count(stream.view(), '\r'); }
};

TEST(ProgressLine, InPlaceShowsPhasePercentageAndElapsedTimeOnOneLine)
{
    CProgressFixture progress(CProgressLine::Mode::InPlace);
    progress.line.BeginPhase(4, false);
    progress.now += 3725s;
    progress.line.SetPercent(57);
    progress.line.SetPercent(101);
    progress.line.End();

    const std::string shown = progress.Shown();
    const std::string last = shown.substr(shown.rfind('\r'));
    EXPECT_NE(last.find("Phase 4 of 8: Collecting NBT entries"), std::string::npos) << last;
    EXPECT_NE(last.find("57%"), std::string::npos) << last;
    EXPECT_NE(last.find("01:02:05"), std::string::npos) << last;
    EXPECT_EQ(std::ranges::count(shown, '\n'), 1);
    EXPECT_EQ(shown.back(), '\n');
}

TEST(ProgressLine, InPlaceDrawsAtMostTenTimesASecondAndCatchesUp)
{
    CProgressFixture progress(CProgressLine::Mode::InPlace);
    progress.line.BeginPhase(5, false);
    for (int step = 0; step < 1000; ++step) {
        progress.now += 1ms;
        progress.line.SetPercent(static_cast<unsigned>(step / 10));
    }
    EXPECT_LE(progress.Drawings(), 11);
    EXPECT_GE(progress.Drawings(), 8);

    progress.line.SetPercent(100);
    progress.now += 1s;
    progress.line.Tick();
    EXPECT_NE(progress.Shown().find("100%"), std::string::npos);
}

TEST(ProgressLine, NothingFollowsTheEnd)
{
    CProgressFixture progress(CProgressLine::Mode::InPlace);
    progress.line.BeginPhase(2, false);
    progress.line.End();
    const std::string atEnd = progress.Shown();
    progress.now += 1min;
    progress.line.BeginPhase(8, true);
    progress.line.SetPercent(50);
    progress.line.Tick();
    progress.line.End();
    EXPECT_EQ(progress.Shown(), atEnd);
}

TEST(ProgressLine, WithoutATerminalEachPhaseIsOneLineAndNothingElse)
{
    CProgressFixture progress(CProgressLine::Mode::LinePerPhase);
    for (unsigned phase = 1; phase <= 8; ++phase) {
        progress.line.BeginPhase(phase, false);
        progress.line.SetPercent(50);
        progress.now += 1h;
        progress.line.Tick();
    }
    progress.line.BeginPhase(8, true);
    progress.line.End();

    const std::string shown = progress.Shown();
    EXPECT_EQ(std::ranges::count(shown, '\n'), 9);
    EXPECT_NE(shown.find("Closing file"), std::string::npos);
    EXPECT_EQ(shown.find_first_of("\r\x1B%"), std::string::npos);
}

TEST(TerminalText, ElapsedTimeWrapsAfterADay)
{
    EXPECT_EQ(cli::ElapsedText(0s), "00:00:00");
    EXPECT_EQ(cli::ElapsedText(59s + 999ms), "00:00:59");
    EXPECT_EQ(cli::ElapsedText(3725s), "01:02:05");
    EXPECT_EQ(cli::ElapsedText(90000s), "01:00:00");
}

TEST(TerminalText, OnlyHarmlessCharactersPass)
{
    using cli::LineBreaks;
    const struct {
        std::string text;
        std::string printable;
    } cases[] = {
        {"plain ~ text", "plain ~ text"},
        {"\u00e9 \u4e2d \U0001F600", "\u00e9 \u4e2d \U0001F600"},
        {"\x1B]0;title\x07", "\\x1B]0;title\\x07"},
        {"a\rb\tc\x7F", "a\\x0Db\\x09c\\x7F"},
        {"\u009b31m", "\\xC2\\x9B31m"},                         // CSI as one C1 character
        {"exe\u202Etxt", "exe\\xE2\\x80\\xAEtxt"},              // right-to-left override
        {"\xFF\xC0\xAF\xE2\x82", "\\xFF\\xC0\\xAF\\xE2\\x82"},  // never UTF-8, overlong, cut off
        {"\xED\xA0\x80", "\\xED\\xA0\\x80"},                    // surrogate
        {std::string("\0x", 2), "\\x00x"},
    };
    for (const auto& [text, printable] : cases)
        EXPECT_EQ(cli::Printable(text, LineBreaks::Keep), printable);
    EXPECT_EQ(cli::Printable("a\nb", LineBreaks::Keep), "a\nb");
    EXPECT_EQ(cli::Printable("a\nb", LineBreaks::Escape), "a\\x0Ab");
}

}  // namespace
}  // namespace pastille::tests
