#include "platform/RunState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

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

}  // namespace
}  // namespace pastille::platform
