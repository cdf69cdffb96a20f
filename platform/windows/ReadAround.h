#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "platform/windows/Win32.h"

namespace pastille::platform {

/// Largest single transfer, below the host's limits, network ones too.
constexpr std::size_t kLargestTransfer = std::size_t{16} << 20;
/// What is read at a time next to a sector that fails: no disk has smaller ones.
constexpr std::size_t kSmallestTransfer = 512;

/// Not in every host's headers.
constexpr DWORD kDataChecksumError = 323;

/// True when a part of what could not be read may be there: a sector fails, or the host lacks the memory for
/// so large a transfer. All else (a connection that has gone, a drive without a disc, a lock) fails whatever
/// the size, and each attempt may take its time.
inline bool IsWorthLess(DWORD error)
{
    switch (error) {
        case ERROR_CRC:
        case ERROR_SECTOR_NOT_FOUND:
        case ERROR_READ_FAULT:
        case ERROR_IO_DEVICE:
        case ERROR_DISK_OPERATION_FAILED:
        case kDataChecksumError:
        case ERROR_FILE_CORRUPT:
        case ERROR_NO_SYSTEM_RESOURCES:
        case ERROR_WORKING_SET_QUOTA:
        case ERROR_NOT_ENOUGH_MEMORY:
        case ERROR_INVALID_USER_BUFFER:
            return true;
        default:
            return false;
    }
}

/// Reads as IByteSource::ReadAt. The host gives nothing of a transfer that meets a bad sector, so that one is
/// tried in ever smaller parts, which end where sectors do: no good byte shares a transfer with a bad sector
/// that lies behind it. `read` takes an offset, bytes and where their count goes, and returns the host's
/// error number, 0 for none.
template <class Read>
std::size_t ReadAround(const Read& read, std::uint64_t offset, std::span<std::byte> into) noexcept
{
    std::size_t done = 0;
    std::size_t most = kLargestTransfer;
    while (done < into.size()) {
        if (offset > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) - done)
            break;
        std::size_t wanted = std::min(into.size() - done, most);
        const auto overhang = static_cast<std::size_t>((offset + done + wanted) % kSmallestTransfer);
        if (most < kLargestTransfer && overhang < wanted)
            wanted -= overhang;
        DWORD got = 0;
        const DWORD error = read(offset + done, into.subspan(done, wanted), got);
        if (error == 0) {
            if (got == 0)
                break;
            done += std::min<std::size_t>(got, wanted);
            continue;
        }
        const bool isOneSector = (offset + done) % kSmallestTransfer + wanted <= kSmallestTransfer;
        if (isOneSector || !IsWorthLess(error))
            break;
        most = std::max(wanted / 2, kSmallestTransfer);
    }
    return done;
}

}  // namespace pastille::platform
