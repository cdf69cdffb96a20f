#include "platform/RunState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/Host.h"

namespace pastille::platform {
namespace {

TEST(RunState, ARunWaitsAtTheGateAndSeesTheAnswerGivenMeanwhile)
{
    RunState state;
    state.gate.Close();
    std::atomic<bool> passed{false};
    bool mustStop = false;
    std::thread run([&] {
        mustStop = state.MustStop();
        passed = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(passed);
    state.stopRequested = true;
    state.gate.Open();
    run.join();
    EXPECT_TRUE(mustStop);
    EXPECT_TRUE(state.MustStop());
}

TEST(TimeText, IsEnglishForEveryDayAndMonth)
{
    std::tm time{};
    time.tm_year = 126;
    time.tm_mon = 10;
    time.tm_mday = 2;
    time.tm_wday = 1;
    time.tm_hour = 7;
    time.tm_sec = 9;
    EXPECT_EQ(TimeText(time), "Monday, November 02, 2026,07:00:09");
    time.tm_mon = 11;
    time.tm_wday = 6;
    EXPECT_EQ(TimeText(time), "Saturday, December 02, 2026,07:00:09");
}

}  // namespace
}  // namespace pastille::platform
