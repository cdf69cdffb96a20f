#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextLayout>

#include <gtest/gtest.h>

#include <cstdlib>

#include "app/DiskSpace.h"
#include "app/MainFrame.h"
#include "app/RepairDlg.h"
#include "tests/app/Accessibility.h"
#include "tests/app/Desktop.h"
#include "tests/app/Heartbeat.h"
#include "tests/support/StoreFindings.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

constexpr const char* kAskStop = "Do you want to stop the process?";

/// Goes through the wizard with a source and a destination, up to the press on Repair.
void Repair(CPerson& person, const std::filesystem::path& source, const std::filesystem::path& destination,
            bool smart = false)
{
    person.Clicks("Select PST File Manually");
    person.Clicks("Next");
    person.Sees("Select PST file :");
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Shown(source));
    person.Sees(Shown(source));
    person.Clicks("Next");
    person.Sees("Select the appropriate scanning method");
    if (smart)
        person.Clicks("Smart Scan");
    person.Clicks("Browse...");
    person.ChoosesInFileDialog(Shown(destination));
    person.Sees(Shown(destination));
    person.Clicks("&Repair");
}

/// Begins a repair that takes long; its progress is in front, in the fourth phase.
std::filesystem::path BeginLongRepair(CDesktop& desktop, CPerson& person)
{
    desktop.Starts();
    const auto to = desktop.MakeFolder("to");
    Repair(person, MakeLongStore(desktop.Folder() / "long.pst"), to);
    person.SeesWindow("Recovery Progress");
    person.Sees("Phase 4 of 8");
    return to;
}

/// Errors of a store, a line each; "" for a sound one.
std::string FaultsOf(const std::filesystem::path& store)
{
    const auto file = platform::HostFileSystem().OpenSource(store);
    return file == nullptr ? "no file" : CheckedStore(*file).errors;
}

std::filesystem::path LongOutput(const std::filesystem::path& to)
{
    return to / "long Recovered" / "long Recovered.pst";
}

/// Waits until one address was opened, and returns its path.
QString OpenedPath(CDesktop& desktop)
{
    QStringList opened;
    CPerson::WaitUntil([&] { return !(opened += desktop.Host().TakeOpened()).empty(); });
    return QUrl(opened.join(' ')).toLocalFile();
}

/// The store holds 22 mails, two contacts and an appointment.
void HasTheCountsOfTheExample(CPerson& person)
{
    const QStringList texts = person.VisibleTexts();
    const std::pair<const char*, const char*> counts[] = {
        {"Emails :", "22"},  {"Contacts :", "2"}, {"Tasks :", "0"},        {"Calendar :", "1"},
        {"Journals :", "0"}, {"Notes :", "0"},    {"Total items :", "25"},
    };
    for (const auto& [label, count] : counts)
        EXPECT_EQ(texts.value(texts.indexOf(QString::fromLatin1(label)) + 1), QString::fromLatin1(count))
            << label;
}

TEST(RunExample, FromTheFirstStartToTheCompletedStore)
{
    CDesktop desktop;
    desktop.Starts();
    CPerson person;
    const auto to = desktop.MakeFolder("to here, \u00e4\u00f6 \u4e2d");
    Repair(person, ExampleStore(), to, true);
    person.SeesWindow("Information");
    person.Sees(
        "Your Outlook PST File has been repaired!!!\n\nFollowing items have been successfully recovered:");
    HasTheCountsOfTheExample(person);
    EXPECT_EQ(AccessibilityFaults(), QStringList());

    const auto output = to / "damaged Recovered";
    const QString howTo = Shown(desktop.Host().installationFolder / "docs/manual/import.html");
    person.Clicks("destination path");
    EXPECT_EQ(OpenedPath(desktop), Shown(output));
    person.Clicks("Click Here");
    EXPECT_EQ(OpenedPath(desktop), howTo);
    // A click has given the second link the focus; the button and the first link come next.
    person.Presses(Qt::Key_Tab);
    person.Presses(Qt::Key_Tab);
    person.Presses(Qt::Key_Return);
    EXPECT_EQ(OpenedPath(desktop), Shown(output));
    person.Clicks("OK");
    person.IsAtTheFrame();
    EXPECT_EQ(FaultsOf(output / "damaged Recovered.pst"), "");
    EXPECT_TRUE(std::filesystem::exists(output / "LogInformation.log"));

    // The scan method is back at Normal Scan, and another run takes the next folder.
    person.Presses(Qt::Key_R, Qt::AltModifier);
    Repair(person, ExampleStore(), to);
    person.Sees("Total items :");
    EXPECT_TRUE(std::filesystem::exists(to / "damaged Recovered0" / "damaged Recovered.pst"));
}

TEST(RunExample, ShowsLongAndMisleadingPathsWholeOnASmallScreen)
{
    CDesktop desktop;
    const std::string word(240, 'w');
    const auto to = desktop.MakeFolder(word + "/" + word + "/" + word + "/line\nbreak \u202Eturned");
    desktop.StartsAtTheFrame();
    CPerson::BeginOnUi([&] {
        desktop.App().Choices().SetSource(MakeLongStore(desktop.Folder() / "long.pst"));
        desktop.App().Choices().settings.destinationFolder = to;
        desktop.App().MainFrame()->StartRepair();
    });
    const auto fits = [] {
        EXPECT_EQ(AccessibilityFaults(), QStringList());
        const QSize size = CPerson::OnUi([] { return CPerson::Window()->frameSize(); });
        EXPECT_TRUE(size.width() <= 800 && size.height() <= 560) << size.width() << " x " << size.height();
        EXPECT_TRUE(CPerson::OnUi([] {
            const auto* text = CPerson::Window()->findChild<QPlainTextEdit*>();
            const QTextLayout* lines = text->document()->lastBlock().layout();
            return lines->lineCount() > 10 &&
                   lines->lineAt(5).naturalTextWidth() <= text->viewport()->width();
        })) << "lines are cut";
    };
    const QString shown = Shown(desktop.Folder() / word / word / word) + "/line\uFFFDbreak \uFFFDturned";
    CPerson person;
    person.SeesWindow("Recovery Progress");
    person.Sees(shown);
    person.Sees("Phase 4 of 8");
    fits();
    person.Clicks("S&top");
    person.Clicks("&Yes");
    person.Sees("Recovery process aborted.\nRecovered at:" + shown + "/long Recovered/long Recovered.pst");
    fits();
    person.Clicks("OK");
    person.IsAtTheFrame();
}

TEST(RunProgress, TellsPhaseScanAndDestination)
{
    CDesktop desktop;
    CPerson person;
    const auto to = BeginLongRepair(desktop, person);
    for (const QString& text :
         {QStringLiteral("Selected Scan      : "), QStringLiteral("Normal Scan"),
          QStringLiteral("Destination Path : "), Shown(to), QStringLiteral("Elapsed Time : "),
          QStringLiteral("Collecting NBT entries"), QStringLiteral("S&top")})
        EXPECT_TRUE(person.IsSeen(text)) << person.VisibleTexts().join('|').toStdString();
    const QRegularExpression time(QStringLiteral("^00:00:0[1-9]$"));
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !person.VisibleTexts().filter(time).empty(); }));
    // The number beside the bar is the bar's.
    EXPECT_TRUE(CPerson::WaitUntil([&] {
        const int percent = CPerson::Window()->findChild<QProgressBar*>()->value();
        return percent > 0 && person.IsSeen(QString::number(percent) + QLatin1Char('%'));
    }));
}

TEST(RunProgress, ShowsTimesCaptionsAndPercentages)
{
    EXPECT_EQ(app::ElapsedText(3725), QStringLiteral("01:02:05"));
    EXPECT_EQ(app::ElapsedText(90000), QStringLiteral("01:00:00"));
    EXPECT_EQ(app::PhaseCaption(3, false), QStringLiteral("Creating new profile "));
    EXPECT_EQ(app::PhaseCaption(2, true), QStringLiteral("Closing file"));
    EXPECT_EQ(app::PhaseCaption(9, false) + app::PhaseCaption(0, false), QString());
    CDesktop desktop;
    CPerson person;
    BeginLongRepair(desktop, person);
    person.Clicks("S&top");  // the run waits meanwhile
    person.Sees(kAskStop);
    CPerson::OnUi([] {
        auto* dialog = qobject_cast<app::CRepairDlg*>(CPerson::Window()->parentWidget());
        ASSERT_NE(dialog, nullptr);
        for (const auto& [sent, shown] : {std::pair{100u, 100}, {101u, 100}, {7u, 7}}) {
            dialog->ShowPercent(sent);
            EXPECT_EQ(dialog->findChild<QProgressBar*>()->value(), shown);
        }
    });
    person.Clicks("&No");
}

TEST(RunStop, WaitsForTheAnswerAndGoesOnAfterNo)
{
    CDesktop desktop;
    CPerson person;
    const auto to = BeginLongRepair(desktop, person);
    const auto percent = [] {
        return CPerson::OnUi([] {
            for (QWidget* window : QApplication::topLevelWidgets()) {
                if (auto* dialog = qobject_cast<app::CRepairDlg*>(window))
                    return dialog->findChild<QProgressBar*>()->value();
            }
            return -1;
        });
    };
    person.Presses(Qt::Key_T, Qt::ControlModifier);
    person.Sees(kAskStop);
    EXPECT_EQ(CPerson::OnUi([] { return CPerson::Window()->windowTitle(); }), QStringLiteral("Confirmation"));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const int held = percent();
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    EXPECT_EQ(percent(), held) << "the run goes on behind the question";
    person.Clicks("&No");
    EXPECT_TRUE(CPerson::WaitUntil([&] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<app::CRepairDlg*>(window))
                return dialog->findChild<QProgressBar*>()->value() > held;
        }
        return false;
    }));

    person.Presses(Qt::Key_F4);
    person.Sees(kAskStop);
    person.Clicks("&Yes");
    person.Sees("Recovery process aborted.\nRecovered at:" + Shown(LongOutput(to)));
    EXPECT_EQ(CPerson::OnUi([] { return CPerson::Window()->windowTitle(); }), QStringLiteral("Information"));
    person.Clicks("OK");
    EXPECT_EQ(FaultsOf(LongOutput(to)), "");
}

TEST(RunProgressClosed, LeavesTheRunGoingAndComesBackOnRequest)
{
    CDesktop desktop;
    CPerson person;
    const auto to = BeginLongRepair(desktop, person);
    person.ClosesWindow();
    person.IsAtTheFrame();
    person.Sees("Collecting NBT entries");       // in the status bar
    person.Presses(Qt::Key_R, Qt::AltModifier);  // no second run beside the first
    person.SeesWindow("Recovery Progress");
    person.Clicks("S&top");
    person.Clicks("&Yes");
    person.Sees("Recovery process aborted.\nRecovered at:" + Shown(LongOutput(to)));
}

TEST(RunExit, EndsTheRunWithoutAWordAndKeepsASoundStore)
{
    CDesktop desktop;
    CPerson person;
    const auto to = BeginLongRepair(desktop, person);
    person.ClosesWindow();
    person.IsAtTheFrame();
    person.ClosesWindow();
    person.Sees("Do you want to exit the application?");
    person.Clicks("&Yes");
    person.SeesNoWindow();
    desktop.Ends();
    EXPECT_EQ(FaultsOf(LongOutput(to)), "");
}

TEST(RunResponse, OfTheWindowsIsQuickWhileManyItemsComeBack)
{
    CDesktop desktop;
    const auto source = desktop.Folder() / "many.pst";
    const char* size = std::getenv("PASTILLE_TEST_STORE_MB");
    WriteMailStore({.fileBytes = std::uint64_t{size != nullptr ? std::strtoul(size, nullptr, 10) : 3} << 20},
                   *platform::HostFileSystem().Create(source));
    desktop.StartsAtTheFrame();
    CPerson::OnUi([&] {
        desktop.App().Choices().SetSource(source);
        desktop.App().Choices().settings.destinationFolder = desktop.MakeFolder("to");
    });
    CHeartbeat heart;
    CPerson::BeginOnUi([&] { desktop.App().MainFrame()->StartRepair(); });
    CPerson person;
    EXPECT_TRUE(CPerson::WaitUntil([&] { return person.IsSeen("Total items :"); }, std::chrono::seconds(60)));
    const int longest = heart.Longest();
    RecordProperty("longest_ms", longest);
    // People notice from twice that on.
    EXPECT_LT(longest, 200) << "ms without an answer";
}

TEST(RunRefused, WithTheTextOfWhatIsWrong)
{
    struct Case {
        const char* what;
        const char* text;
        const char* caption;
        std::function<void(const std::filesystem::path& source, const std::filesystem::path& to)> spoil;
    };
    const Case cases[] = {
        {"source vanished", "Source file could not open.Make sure that another application is not using. ",
         "Error", [](const auto& source, const auto&) { std::filesystem::remove(source); }},
        {"no store", "Pst/Ost file is not valid.", "Error",
         [](const auto& source, const auto&) { std::filesystem::resize_file(source, 0); }},
        {"output folder exists",
         "Unable to create folder to save recovered .pst file.\n"
         "Please select another location to save recovered .pst file.",
         "Error",
         [](const auto&, const auto& to) { std::filesystem::create_directory(to / "copy Recovered"); }},
        {"destination vanished",
         "Not enough free disk space available to save repaired .pst file.\n"
         "Please start the process again by selecting another destination path.",
         "Information", [](const auto&, const auto& to) { std::filesystem::remove(to); }},
        {"no space",
         "Not enough free disk space available to save repaired .pst file.\n"
         "Please start the process again by selecting another destination path.",
         "Information",
         [](const auto& source, const auto& to) {
             std::filesystem::resize_file(source, std::filesystem::space(to).available + (2 << 20));
         }},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        CDesktop desktop;
        const auto source = desktop.Folder() / "copy.pst";
        const auto to = desktop.MakeFolder("to");
        std::filesystem::copy_file(ExampleStore(), source);
        desktop.StartsAtTheFrame();
        CPerson::OnUi([&] {
            desktop.App().Choices().SetSource(source);
            desktop.App().Choices().settings.destinationFolder = to;
            test.spoil(source, to);
        });
        CPerson::BeginOnUi([&] { desktop.App().MainFrame()->StartRepair(); });
        CPerson person;
        person.Sees(test.text);
        EXPECT_EQ(CPerson::OnUi([] { return CPerson::Window()->windowTitle(); }),
                  QString::fromLatin1(test.caption));
        person.Clicks("OK");
        // No completion dialog follows, and the frame is there again.
        person.IsAtTheFrame();
    }
}

TEST(RunRefused, WithoutAWordWhileThereIsNoDestination)
{
    CDesktop desktop;
    desktop.StartsAtTheFrame();
    CPerson::OnUi([&] {
        desktop.App().Choices().SetSource(ExampleStore());
        desktop.App().MainFrame()->StartRepair();  // would not return before a box is closed
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    });
}

TEST(RunFullDisk, EndsItWithOneBoxThatSaysWhy)
{
    CFaultyFileSystem disk({.diskBytes = 60'000});
    CDesktop desktop(disk);
    const auto to = desktop.MakeFolder("to");
    desktop.Starts();
    CPerson person;
    Repair(person, ExampleStore(), to);
    person.SeesWindow("Error");
    EXPECT_FALSE(person.VisibleTexts().filter("There is no room left for the new .pst file.").empty());
    person.Clicks("OK");
    person.IsAtTheFrame();
}

TEST(RunOutput, TakenAwayMeanwhileIsToldInsteadOfASuccess)
{
    CFaultyFileSystem disk;
    CDesktop desktop(disk);
    const auto to = desktop.MakeFolder("to");
    const auto output = to / "damaged Recovered";
    // After the tables, which need the folder for a file of their own.
    bool hasTables = false;
    disk.faults.onChange = [&](const FileChange& change) {
        hasTables = hasTables || change.path.filename() == "FirstTableItem.dat";
        if (hasTables && change.kind == FileChange::Kind::Write && change.path.extension() == ".pst")
            std::filesystem::remove_all(output);
    };
    desktop.Starts();
    CPerson person;
    Repair(person, ExampleStore(), to);
    person.SeesWindow("Error");
    const QString text =
        "The new store is no longer at its place: " + Shown(output / "damaged Recovered.pst");
    EXPECT_TRUE(person.IsSeen(text)) << person.VisibleTexts().join('|').toStdString();
}

TEST(RunSpace, IsEnoughWhenTheSourceIsTheSmallerOneInWholeMiB)
{
    constexpr std::uint64_t kMiB = 1'048'576;
    EXPECT_FALSE(app::IsEnoughSpace(2048 * kMiB, 2048 * kMiB));
    EXPECT_FALSE(app::IsEnoughSpace(2048 * kMiB, 2049 * kMiB - 1));
    EXPECT_TRUE(app::IsEnoughSpace(2048 * kMiB, 2049 * kMiB));
    EXPECT_TRUE(app::IsEnoughSpace(2049 * kMiB - 1, 2049 * kMiB));
    EXPECT_FALSE(app::IsEnoughSpace(0, kMiB - 1));
}

}  // namespace
}  // namespace pastille::tests
