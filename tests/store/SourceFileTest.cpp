#include "store/SourceFile.h"

#include <gtest/gtest.h>

#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

constexpr std::size_t kSize = 100'000;

std::byte At(std::size_t offset)
{
    return static_cast<std::byte>(1 + offset * 31 % 251);
}

/// Opens a file of kSize known bytes, none of them zero, with faults.
struct FaultySource {
    explicit FaultySource(FileFaults faults)
    {
        for (std::size_t i = 0; i < kSize; ++i)
            bytes[i] = At(i);
        below = std::make_unique<CMemoryFileSystem>(bytes);
        files = std::make_unique<CFaultyFileSystem>(std::move(faults), *below);
        EXPECT_TRUE(source.Open(*files, "source.pst"));
    }
    Bytes bytes = Bytes(kSize);
    std::unique_ptr<CMemoryFileSystem> below;
    std::unique_ptr<CFaultyFileSystem> files;
    store::CSourceFile source;
};

TEST(SourceFile, ReadsPastTheEndAreZeros)
{
    FaultySource file({});
    Bytes into(200, std::byte{0xEE});
    EXPECT_EQ(file.source.Read(kSize - 50, into), 50u);
    EXPECT_EQ(into[49], At(kSize - 1));
    EXPECT_EQ(into[50], std::byte{0});
    EXPECT_EQ(into[199], std::byte{0});
    EXPECT_EQ(file.source.Read(kSize, into), 0u);
    EXPECT_EQ(file.source.Read(~std::uint64_t{0} - 10, into), 0u);
    EXPECT_TRUE(file.source.UnreadableRanges().empty()) << "an end is no fault";
}

TEST(SourceFile, AFaultInsideASectorCostsNoMoreThanItsRest)
{
    FaultySource file({.unreadable = {{10'300, 8}}});
    Bytes into(2000);
    EXPECT_EQ(file.source.Read(10'000, into), into.size());
    for (std::size_t i = 0; i < into.size(); ++i) {
        const bool mayBeLost = i >= 300 && i < 752;
        ASSERT_TRUE(into[i] == At(10'000 + i) || (mayBeLost && into[i] == std::byte{0})) << i;
    }
}

TEST(SourceFile, UnreadableSectorsAreZeroAndTheRestIsRead)
{
    FaultySource file({.unreadable = {{10'240, 512}, {20'480, 4096}}});
    Bytes into(40'000);
    EXPECT_EQ(file.source.Read(0, into), into.size());
    const auto isLost = [](std::size_t i) {
        return (i >= 10'240 && i < 10'752) || (i >= 20'480 && i < 24'576);
    };
    for (std::size_t i = 0; i < into.size(); ++i)
        ASSERT_EQ(into[i], isLost(i) ? std::byte{0} : At(i)) << i;
    const auto& ranges = file.source.UnreadableRanges();
    ASSERT_EQ(ranges.size(), 2u);
    EXPECT_EQ(ranges[0].offset, 10'240u);
    EXPECT_EQ(ranges[0].length, 512u);
    EXPECT_EQ(ranges[1].offset, 20'480u);
    EXPECT_EQ(ranges[1].length, 4096u);
}

TEST(SourceFile, AFileThatBecameShorterReadsAsFarAsItGoes)
{
    FaultySource file({.shrinksTo = 30'000});
    EXPECT_EQ(file.source.Size(), kSize);
    Bytes into(20'000, std::byte{0xEE});
    EXPECT_EQ(file.source.Read(20'000, into), 10'000u);
    EXPECT_EQ(into[9'999], At(29'999));
    EXPECT_EQ(into[10'000], std::byte{0});
    EXPECT_EQ(file.source.Read(50'000, into), 0u);
}

}  // namespace
}  // namespace pastille::tests
