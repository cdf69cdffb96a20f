#include "platform/windows/ReadAround.h"

#include <gtest/gtest.h>

#include <vector>

namespace pastille::platform {
namespace {

/// A disk of zeros of which some bytes cannot be read. As the host does, it gives nothing of a transfer that
/// meets one.
struct BadDisk {
    std::uint64_t firstBad, endOfBad, size;
    DWORD error;
    mutable unsigned transfers = 0;

    DWORD operator()(std::uint64_t offset, std::span<std::byte> into, DWORD& got) const
    {
        ++transfers;
        const std::uint64_t end = std::min<std::uint64_t>(offset + into.size(), size);
        if (offset < endOfBad && end > firstBad)
            return error;
        got = static_cast<DWORD>(end > offset ? end - offset : 0);
        return 0;
    }
};

TEST(ReadAround, GivesAllThatLiesBeforeABadSector)
{
    constexpr std::uint64_t kSize = 40u << 20;
    for (const std::uint64_t sector : {std::uint64_t{0}, std::uint64_t{512}, std::uint64_t{7 * 4096},
                                       std::uint64_t{(16u << 20) - 512}, std::uint64_t{33u << 20}}) {
        for (const std::uint64_t start : {0u, 1u, 100u, 511u, 513u}) {
            if (start > sector)
                continue;
            const BadDisk disk{sector, sector + 512, kSize, ERROR_CRC};
            std::vector<std::byte> bytes(static_cast<std::size_t>(kSize - start));
            EXPECT_EQ(ReadAround(disk, start, bytes), sector - start) << sector << " from " << start;
            EXPECT_LT(disk.transfers, 200u);
        }
    }
}

TEST(ReadAround, StopsAtOnceWhereSmallerTransfersWouldFailAsWell)
{
    std::vector<std::byte> bytes(1u << 20);
    for (const DWORD error :
         {ERROR_NETNAME_DELETED, ERROR_NOT_READY, ERROR_LOCK_VIOLATION, ERROR_INVALID_HANDLE,
          ERROR_UNEXP_NET_ERR, ERROR_DEVICE_REMOVED, ERROR_HANDLE_EOF}) {
        const BadDisk disk{0, 1u << 20, 1u << 20, static_cast<DWORD>(error)};
        EXPECT_EQ(ReadAround(disk, 0, bytes), 0u);
        EXPECT_EQ(disk.transfers, 1u) << error;
    }
}

TEST(ReadAround, EndsWithTheFile)
{
    const BadDisk disk{~std::uint64_t{0}, ~std::uint64_t{0}, 1000, 0};
    std::vector<std::byte> bytes(4096);
    EXPECT_EQ(ReadAround(disk, 10, bytes), 990u);
    EXPECT_EQ(ReadAround(disk, 1000, bytes), 0u);
    EXPECT_EQ(ReadAround(disk, ~std::uint64_t{0}, bytes), 0u);
}

}  // namespace
}  // namespace pastille::platform
