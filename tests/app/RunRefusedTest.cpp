#include <gtest/gtest.h>

#include "app/DiskSpace.h"
#include "app/MainFrame.h"
#include "app/RepairDlg.h"
#include "tests/app/RunSteps.h"

namespace pastille::tests {
namespace {

TEST(RunRefused, WithTheTextOfWhatIsWrong)
{
    for (const RunFault& fault : RunFaults()) {
        SCOPED_TRACE(fault.what);
        CFaultyFileSystem disk;
        CDesktop desktop(disk);
        desktop.StartsAtTheFrame();
        BeginRefusedRepair(desktop, disk, fault);
        CPerson person;
        person.SeesWindow(fault.caption);
        EXPECT_FALSE(person.VisibleTexts().filter(fault.text).empty())
            << person.VisibleTexts().join('|').toStdString();
        person.Clicks("OK");
        // No completion dialog follows, and the frame is there again.
        person.IsAtTheFrame();
        EXPECT_TRUE(CPerson::WaitUntil([] { return QApplication::activeModalWidget() == nullptr; }));
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

TEST(RunTexts, AreTimesCaptionsAndWholeMiB)
{
    EXPECT_EQ(app::ElapsedText(3725), "01:02:05");
    EXPECT_EQ(app::ElapsedText(90000), "01:00:00");
    EXPECT_EQ(app::PhaseCaption(3, false), "Creating new profile ");
    EXPECT_EQ(app::PhaseCaption(2, true), "Closing file");
    EXPECT_EQ(app::PhaseCaption(9, false) + app::PhaseCaption(0, false), QString());
    constexpr std::uint64_t kMiB = 1'048'576;
    EXPECT_FALSE(app::IsEnoughSpace(2048 * kMiB, 2048 * kMiB));
    EXPECT_FALSE(app::IsEnoughSpace(2048 * kMiB, 2049 * kMiB - 1));
    EXPECT_TRUE(app::IsEnoughSpace(2048 * kMiB, 2049 * kMiB));
    EXPECT_TRUE(app::IsEnoughSpace(2049 * kMiB - 1, 2049 * kMiB));
    EXPECT_FALSE(app::IsEnoughSpace(0, kMiB - 1));
}

}  // namespace
}  // namespace pastille::tests
