#pragma once

#include <cstdint>
#include <filesystem>

#include "platform/FileSystem.h"

namespace pastille::app {

/// Both in bytes, compared in whole MiB: the source must be the smaller one.
constexpr bool IsEnoughSpace(std::uint64_t sourceSize, std::uint64_t freeSpace)
{
    constexpr std::uint64_t kMiB = 1'048'576;
    return sourceSize / kMiB < freeSpace / kMiB;
}

/// The same for a source that is to be repaired into a folder. A source that cannot be opened counts as
/// empty, and a file system that does not tell its free space as full.
bool HasRoomFor(platform::IFileSystem& fileSystem, const std::filesystem::path& source,
                const std::filesystem::path& destinationFolder);

}  // namespace pastille::app
