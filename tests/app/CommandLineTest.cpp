#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/CommandLine.h"

namespace pastille::tests {
namespace {

using Words = std::vector<const char*>;

TEST(StartupCommandLine, TakesOneFile)
{
    const std::filesystem::path here = std::filesystem::current_path();
    EXPECT_EQ(app::ReadArguments(Words{}).store, "");
    EXPECT_EQ(app::ReadArguments(Words{"a b.pst"}).store, here / "a b.pst");
    EXPECT_EQ(app::ReadArguments(Words{"/x/b\xFCro.ost"}).store, "/x/b\xFCro.ost");
    EXPECT_EQ(app::ReadArguments(Words{"--", "--help"}).store, here / "--help");
    EXPECT_FALSE(app::AnswersInText(Words{"--", "--help"}));
    for (const Words& good : {Words{}, Words{"-"}, Words{"--", "-x"}})
        EXPECT_EQ(app::ReadArguments(good).complaint, "");
    for (const Words& bad : {Words{""}, Words{"a", "b"}, Words{"-x"}, Words{"a", "--repair"}})
        EXPECT_NE(app::ReadArguments(bad).complaint, "");
}

}  // namespace
}  // namespace pastille::tests
