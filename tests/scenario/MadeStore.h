#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>

#include "platform/FileSystem.h"
#include "tests/support/StoreMemory.h"

namespace pastille::tests {

/// How far the making of a store has come.
struct MakingProgress {
    std::atomic<std::uint32_t> begun = 0;      ///< items whose saving has begun
    std::atomic<std::uint32_t> completed = 0;  ///< items that a kill must not take any more
};

/// Items of the store that MakeStore makes.
constexpr std::uint32_t kMadeItems = 12;

/// When the store is brought to the disk.
enum class Making {
    WithCommits,      ///< when it is told to, after every third item
    WithCheckpoints,  ///< by itself, after every item and folder
    WithLargeItem,    ///< as WithCommits; one attachment is so large that it is written while more is made
};

/// Names a test of one way of making.
std::string NameOfMaking(const testing::TestParamInfo<Making>& tested);

std::filesystem::path MadeStorePath(const std::filesystem::path& folder);

/// Makes a store through the component: folders with short and long mails, attachments, embedded messages,
/// mails that are changed and saved again when the disk has them already. Raises what the component raises.
void MakeStore(platform::IFileSystem& files, const std::filesystem::path& folder, Making making,
               MakingProgress& progress);

/// How the writing of a file has ended.
enum class Ending {
    Closed,       ///< the component let go of the store in good order
    Interrupted,  ///< allocation maps may be behind, and the file may be too long, when the header says so
};

/// Expects of the bytes of a store file that they are sound, and that the first items are in it, each whole:
/// not fewer than `completed`, not more than `begun`. A file without a header is right as long as none was
/// completed.
void ExpectMadeStore(const Bytes& file, const MakingProgress& progress, Ending ending);

/// Expects of the bytes of a store file that they are sound, whatever it holds.
void ExpectSound(const Bytes& file, Ending ending);

/// True when there is a file header. There is none before a new store is brought to the disk for the first
/// time.
bool HasHeader(const Bytes& file);

}  // namespace pastille::tests
