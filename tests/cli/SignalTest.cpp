#include "tests/cli/CliSupport.h"
#include "tests/support/StoreMails.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <signal.h>

namespace pastille::tests {
namespace {

constexpr const char* kAborted = "Recovery process aborted.\nRecovered at:";

/// Sends signals, all there at once, when the scan has begun: that phase of the command. The process is
/// held meanwhile, lest it ends by the first before this one comes to send the second.
auto SendDuringScan(std::vector<int> signals, const char* phase = "Phase 4 of 8")
{
    return [signals = std::move(signals), phase, sent = false](pid_t pid, const std::string& err) mutable {
        if (sent || err.find(phase) == std::string::npos)
            return;
        sent = true;
        ::kill(pid, SIGSTOP);
        for (const int signal : signals)
            ::kill(pid, signal);
        ::kill(pid, SIGCONT);
    };
}

class Signals : public testing::TestWithParam<int> {};

TEST_P(Signals, TheFirstStopsTheRunAsDocumented)
{
    const CTemporaryFolder scratch;
    const auto source = MakeLongStore(scratch / "long.pst");
    const auto to = scratch.MakeFolder("to");
    const CommandResult result = RunProgram({"repair", source.string(), "--to", to.string(), "--json"},
                                            scratch.Path() / "home", SendDuringScan({GetParam()}));
    EXPECT_EQ(result.status, 3) << result.err;
    const std::string output = (to / "long Recovered/long Recovered.pst").string();
    EXPECT_NE(result.err.find(kAborted + output + "\n"), std::string::npos) << result.err;

    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report.at("status"), "stopped");
    EXPECT_EQ(report.at("output"), output);
    EXPECT_EQ(report.at("messages"), nlohmann::json::array({kAborted + output}));
    EXPECT_TRUE(std::filesystem::exists(output));
    EXPECT_FALSE(std::filesystem::exists(to / "long Recovered/FirstTableItem.dat"));
}

TEST_P(Signals, TheFirstStopsAScanToo)
{
    const CTemporaryFolder scratch;
    const auto source = MakeLongStore(scratch / "long.pst");
    const auto before = Listing(scratch.Path());
    const CommandResult result = RunProgram({"scan", source.string(), "--json"}, scratch.Path() / "home",
                                            SendDuringScan({GetParam()}, "Phase 3 of 7"));
    EXPECT_EQ(result.status, 3) << result.err;
    EXPECT_NE(result.err.find("The scan was stopped.\n"), std::string::npos) << result.err;
    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report.at("status"), "stopped");
    EXPECT_TRUE(report.at("items").is_null());
    EXPECT_EQ(Listing(scratch.Path()), before);
}

INSTANTIATE_TEST_SUITE_P(Either, Signals, testing::Values(SIGINT, SIGTERM));

TEST(SignalsInARow, TheSecondEndsTheProcess)
{
    const CTemporaryFolder scratch;
    const auto source = MakeLongStore(scratch / "long.pst");
    const CommandResult result =
        RunProgram({"repair", source.string(), "--to", scratch.MakeFolder("to").string()},
                   scratch.Path() / "home", SendDuringScan({SIGINT, SIGTERM}));
    // Which of two that are there at once is the second is the host's choice.
    EXPECT_TRUE(result.status == -SIGTERM || result.status == -SIGINT) << result.status;
}

}  // namespace
}  // namespace pastille::tests
