#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"

namespace pastille::tests {
namespace {

std::vector<std::filesystem::path> Samples()
{
    const char* const chosen = std::getenv("PASTILLE_SAMPLES");
    const std::filesystem::path folder = chosen != nullptr ? chosen : PASTILLE_SAMPLES_DEFAULT;
    std::vector<std::filesystem::path> samples;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().extension() == ".pst" || entry.path().extension() == ".ost")
            samples.push_back(entry.path());
    }
    std::sort(samples.begin(), samples.end());
    return samples;
}

/// Every mail that another reader finds in a real file must be in the repaired one, read by that same reader.
TEST(Samples, RepairedFilesHoldAtLeastTheMailsOfTheSource)
{
    const auto samples = Samples();
    if (samples.empty())
        GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    for (const auto& sample : samples) {
        SCOPED_TRACE(sample);
        CRepair repair(sample);
        repair.Run();
        EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
        EXPECT_EQ(repair.frontEnd.completions, 1);
        const auto items = CountWithPffexport(repair.state.outputPath);
        if (!items && !CountWithPffexport(sample))
            GTEST_SKIP() << "pffexport is not installed";
        ASSERT_TRUE(items) << "the new store cannot be read by others";
        EXPECT_EQ(items->messages, CountItems(repair.ReadBack()))
            << "others see the same items as our own reader";
        const auto before = CountWithReadpst(sample);
        if (!before)
            GTEST_SKIP() << "readpst is not installed";
        const auto after = CountWithReadpst(repair.state.outputPath);
        ASSERT_TRUE(after);
        // There may be more: a mail comes back from superseded pages, too.
        EXPECT_GE(after->messages, before->messages);
    }
}

}  // namespace
}  // namespace pastille::tests
