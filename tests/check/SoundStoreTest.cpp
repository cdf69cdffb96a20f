#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "tests/check/CheckSupport.h"
#include "tests/support/Samples.h"

namespace pastille::tests {
namespace {

TEST(SoundStores, OfTheComponentAndOfTheBuilderBringNoFinding)
{
    EXPECT_EQ(FindingsOf(ComponentStore()), "");
    for (const auto variant : kAllVariants)
        EXPECT_EQ(FindingsOf(BuilderStore(variant)), "");
}

// What mail programs left has no errors. The export of a server has, and they are known: counters of node
// indexes that were never raised, a count of free space that fits nothing, folders without their properties.
TEST(SoundStores, RealFilesBringNoErrorThatIsNotKnown)
{
    const std::map<std::string, std::vector<std::string>> known = {
        {"support.pst", {"amap-free", "folder-property", "header-node-index"}}};
    if (Samples().empty())
        GTEST_SKIP() << "no real stores at hand";
    for (const std::filesystem::path& path : Samples()) {
        const auto source = platform::HostFileSystem().OpenSource(path);
        std::vector<std::string> errors = CodesOf(*source);
        std::erase_if(errors, [](const std::string& code) { return code.ends_with('?'); });
        const auto expected = known.find(path.filename().string());
        EXPECT_EQ(errors, expected == known.end() ? std::vector<std::string>() : expected->second) << path;
    }
}

}  // namespace
}  // namespace pastille::tests
