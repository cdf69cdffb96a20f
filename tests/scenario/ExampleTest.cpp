#include <gtest/gtest.h>

#include "tests/scenario/Repair.h"
#include "tests/support/StoreExample.h"

namespace pastille::tests {
namespace {

TEST(Example, TheFileInExamplesIsTheOneThatTheMakerMakes)
{
    const auto source =
        platform::HostFileSystem().OpenSource(std::filesystem::path(PASTILLE_EXAMPLES) / "damaged.pst");
    ASSERT_TRUE(source) << "make it with: store_maker --example examples/damaged.pst";
    Bytes stored(source->Size());
    source->ReadAt(0, stored);
    EXPECT_LT(stored.size(), 500'000u);
    EXPECT_TRUE(stored == BuildDamagedExample().Content());
}

TEST(Example, HoldsWhatItIsToShow)
{
    const SeenStore expected = Expected(DescribeExample());
    EXPECT_GE(expected.at(u"\\Inbox").size(), 12u);
    const CBuiltStore sound(DescribeExample());
    EXPECT_GT(sound.Directory().All(PlaceKind::NbtIndex).size(), 0u) << "there are upper pages to lose";
    EXPECT_GT(sound.Directory().All(PlaceKind::BbtLeaf).size(), 2u);
}

}  // namespace
}  // namespace pastille::tests
