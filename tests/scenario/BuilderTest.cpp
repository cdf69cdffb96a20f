#include <gtest/gtest.h>

#include "tests/support/StoreFindings.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

// The builder and the checker were made from the same published layout without knowing of each other: each
// checks the other.
TEST(Builder, StoresOfSeveralMapsAndTreeLevelsPassTheChecker)
{
    for (const auto variant : {format::Variant::Ansi, format::Variant::Unicode, format::Variant::Unicode4k}) {
        CMemoryFile file;
        MailStoreOptions options;
        options.format.variant = variant;
        options.mails = 1500;
        options.folders = 2;
        WriteMailStore(options, file);
        EXPECT_GT(file.Size(), 3'000'000u);
        EXPECT_EQ(CheckedStore(file).errors, "");
    }
}

TEST(Builder, LargeStoresComeOutTheSameEachTimeAndAboutAsLargeAsAsked)
{
    for (const std::uint64_t size : {std::uint64_t{2'000'000}, std::uint64_t{5'000'000}}) {
        CMemoryFile first, second;
        WriteMailStore({.fileBytes = size}, first);
        WriteMailStore({.fileBytes = size}, second);
        EXPECT_TRUE(first.Content() == second.Content());
        EXPECT_NEAR(static_cast<double>(first.Size()), static_cast<double>(size),
                    static_cast<double>(size) / 6);
    }
}

}  // namespace
}  // namespace pastille::tests
