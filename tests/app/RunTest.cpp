#include <QPlainTextEdit>
#include <QProgressBar>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextLayout>

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "app/MainFrame.h"
#include "tests/app/Accessibility.h"
#include "tests/app/Heartbeat.h"
#include "tests/app/RunSteps.h"
#include "tests/support/StoreFindings.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

constexpr const char* kAskStop = "Do you want to stop the process?";

/// Errors of a store, a line each; "" for a sound one.
std::string FaultsOf(const std::filesystem::path& store)
{
    const auto file = platform::HostFileSystem().OpenSource(store);
    return file == nullptr ? "no file" : CheckedStore(*file).errors;
}

/// A repair that takes long; its progress is in front, in the fourth phase.
class RunLong : public testing::Test {
protected:
    void BeginsInto(const std::string& folder)
    {
        const auto to = m_desktop.MakeFolder(folder);
        m_output = to / "long Recovered/long Recovered.pst";
        m_desktop.StartsAtTheFrame();
        BeginRepair(m_desktop, MakeLongStore(m_desktop.Folder() / "long.pst"), to);
        m_person.SeesWindow("Recovery Progress");
        m_person.Sees("Phase 4 of 8");
    }
    static int Percent()
    {
        return CPerson::OnUi([] {
            const QWidget* window = CPerson::Window();
            const auto* bar = window->findChild<QProgressBar*>();
            return (bar != nullptr ? bar : window->parentWidget()->findChild<QProgressBar*>())->value();
        });
    }
    void IsAborted(const QString& output)
    {
        m_person.Answers("Information", "Recovery process aborted.\nRecovered at:" + output, "OK");
        m_person.IsAtTheFrame();
        EXPECT_EQ(FaultsOf(m_output), "");
    }
    CDesktop m_desktop;
    CPerson m_person;
    std::filesystem::path m_output;
};

TEST_F(RunLong, TellsWhereItIsComesBackWhenClosedAndWaitsForTheAnswerToStop)
{
    BeginsInto("to");
    for (const QString& text :
         {QString("Selected Scan      : "), QString("Normal Scan"), QString("Destination Path : "),
          Shown(m_desktop.Folder() / "to"), QString("Elapsed Time : "), QString("Collecting NBT entries")})
        EXPECT_TRUE(m_person.IsSeen(text)) << m_person.VisibleTexts().join('|').toStdString();
    const QRegularExpression time("^00:00:0[1-9]$");
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !m_person.VisibleTexts().filter(time).empty(); }));
    // The number beside the bar is the bar's.
    EXPECT_TRUE(CPerson::WaitUntil(
        [&] { return Percent() > 0 && m_person.IsSeen(QString::number(Percent()) + '%'); }));

    m_person.ClosesWindow();
    m_person.IsAtTheFrame();
    m_person.Sees("Collecting NBT entries");       // in the status bar
    m_person.Presses(Qt::Key_R, Qt::AltModifier);  // no second run beside the first
    m_person.SeesWindow("Recovery Progress");

    m_person.Presses(Qt::Key_T, Qt::ControlModifier);
    m_person.Sees(kAskStop);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const int held = Percent();
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    EXPECT_EQ(Percent(), held) << "the run goes on behind the question";
    CPerson::OnUi([&] {
        auto* dialog = qobject_cast<app::CRepairDlg*>(CPerson::Window()->parentWidget());
        ASSERT_NE(dialog, nullptr);
        for (const auto& [sent, shown] : {std::pair{100, 100}, {101, 100}, {7, 7}, {held, held}}) {
            dialog->ShowPercent(static_cast<unsigned>(sent));
            EXPECT_EQ(Percent(), shown);
        }
    });
    m_person.Answers("Confirmation", kAskStop, "&No");
    EXPECT_TRUE(CPerson::WaitUntil([&] { return Percent() > held; }));
    m_person.Presses(Qt::Key_F4);
    m_person.Answers("Confirmation", kAskStop, "&Yes");
    IsAborted(Shown(m_output));
}

TEST_F(RunLong, ShowsLongAndMisleadingPathsWholeOnASmallScreen)
{
    const std::string words = std::string(240, 'w') + "/" + std::string(240, 'w') + "/";
    BeginsInto(words + words + "line\nbreak \u202Eturned");
    const auto fits = [] {
        EXPECT_EQ(AccessibilityFaults(), QStringList());
        CPerson::OnUi([] {
            const QSize size = CPerson::Window()->frameSize();
            EXPECT_TRUE(size.width() <= 800 && size.height() <= 560) << size.width() << "x" << size.height();
            const auto* text = CPerson::Window()->findChild<QPlainTextEdit*>();
            const QTextLayout* lines = text->document()->lastBlock().layout();
            ASSERT_GT(lines->lineCount(), 10);
            EXPECT_LE(lines->lineAt(5).naturalTextWidth(), text->viewport()->width());
        });
    };
    const QString shown = Shown(m_desktop.Folder() / (words + words)) + "line\uFFFDbreak \uFFFDturned";
    m_person.Sees(shown);
    fits();
    m_person.Clicks("S&top");
    m_person.Clicks("&Yes");
    m_person.SeesWindow("Information");
    fits();
    IsAborted(shown + "/long Recovered/long Recovered.pst");
}

TEST_F(RunLong, EndsWithTheProgramWithoutAWordAndKeepsASoundStore)
{
    BeginsInto("to");
    m_person.ClosesWindow();
    m_person.IsAtTheFrame();
    m_person.ClosesWindow();
    m_person.Sees("Do you want to exit the application?");
    const int held = Percent();
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    EXPECT_EQ(Percent(), held) << "the run's end would put its box over the question";
    m_person.Answers("Pastille", "Do you want to exit the application?", "&Yes");
    m_person.SeesNoWindow();
    m_desktop.Ends();
    EXPECT_EQ(FaultsOf(m_output), "");
}

TEST(RunExample, LeadsFromTheFirstStartToTheCompletedStore)
{
    CDesktop desktop;
    desktop.Starts();
    CPerson person;
    const auto to = desktop.MakeFolder("to here, \u00e4\u00f6 \u4e2d");
    Repair(person, ExampleStore(), to, true);
    person.Sees(
        "Your Outlook PST File has been repaired!!!\n\nFollowing items have been successfully recovered:");
    // The store holds 22 mails, two contacts and an appointment.
    const QStringList counts{"Emails :",   "22", "Contacts :", "2", "Tasks :",       "0", "Calendar :", "1",
                             "Journals :", "0",  "Notes :",    "0", "Total items :", "25"};
    EXPECT_EQ(person.VisibleTexts().mid(person.VisibleTexts().indexOf("Emails :"), counts.size()), counts);
    EXPECT_EQ(AccessibilityFaults(), QStringList());

    const auto output = to / "damaged Recovered";
    person.Clicks("destination path");
    EXPECT_EQ(desktop.OpenedPath(), Shown(output));
    person.Clicks("Click Here");
    EXPECT_EQ(desktop.OpenedPath(), Shown(desktop.Host().installationFolder / "docs/manual/import.html"));
    // A click has given the second link the focus; the button and the first link come next.
    person.Presses(Qt::Key_Tab);
    person.Presses(Qt::Key_Tab);
    person.Presses(Qt::Key_Return);
    EXPECT_EQ(desktop.OpenedPath(), Shown(output));
    person.Answers("Information", "Total items :", "OK");
    person.IsAtTheFrame();
    EXPECT_EQ(FaultsOf(output / "damaged Recovered.pst"), "");
    EXPECT_TRUE(std::filesystem::exists(output / "LogInformation.log"));

    // The scan method is back at Normal Scan, and another run takes the next folder.
    EXPECT_FALSE(CPerson::OnUi([&] { return desktop.App().Choices().settings.smartScan; }));
    BeginRepair(desktop, ExampleStore(), to);
    person.Sees("Total items :");
    EXPECT_TRUE(std::filesystem::exists(to / "damaged Recovered0/damaged Recovered.pst"));
}

TEST(RunExample, IsACompleteRecoveryWhenThatIsTicked)
{
    CDesktop desktop;
    desktop.Starts();
    CPerson person;
    const auto to = desktop.MakeFolder("to");
    ChooseSource(person, ExampleStore());
    person.Clicks("Complete recovery");
    person.BrowsesTo(to);
    person.Clicks("&Repair");
    person.Sees("Total items :");
    const Bytes log = FileBytes(to / "damaged Recovered/LogInformation.log");
    EXPECT_NE(TextOf(log).find(u"\r\nComplete recovery\r\n"), std::u16string::npos);
    person.Answers("Information", "Total items :", "OK");
    person.IsAtTheFrame();
    EXPECT_TRUE(CPerson::WaitUntil(
        [&] { return !CPerson::OnUi([&] { return desktop.App().Choices().settings.complete; }); }));
}

TEST(RunResponse, OfTheWindowsIsQuickWhileManyItemsComeBack)
{
    CDesktop desktop;
    const auto source = desktop.Folder() / "many.pst";
    const char* size = std::getenv("PASTILLE_TEST_STORE_MB");
    WriteMailStore({.fileBytes = std::uint64_t{size != nullptr ? std::strtoul(size, nullptr, 10) : 3} << 20},
                   *platform::HostFileSystem().Create(source));
    desktop.StartsAtTheFrame();
    CHeartbeat heart;
    BeginRepair(desktop, source, desktop.MakeFolder("to"));
    CPerson person;
    EXPECT_TRUE(CPerson::WaitUntil([&] { return person.IsSeen("Total items :"); }, std::chrono::seconds(60)));
    const int longest = heart.Longest();
    RecordProperty("longest_ms", longest);
    // People notice from twice that on.
    EXPECT_LT(longest, 200) << "ms without an answer";
}

}  // namespace
}  // namespace pastille::tests
