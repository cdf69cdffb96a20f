#include "app/DiskSpace.h"

#include <system_error>

namespace pastille::app {

bool HasRoomFor(platform::IFileSystem& fileSystem, const std::filesystem::path& source,
                const std::filesystem::path& destinationFolder)
{
    const auto file = fileSystem.OpenSource(source);
    std::error_code error;
    auto space = std::filesystem::space(destinationFolder, error);
    // The drive has room whether or not the folder is there.
    for (auto folder = destinationFolder; error && folder.has_relative_path();) {
        folder = folder.parent_path();
        space = std::filesystem::space(folder, error);
    }
    return IsEnoughSpace(file != nullptr ? file->Size() : 0, error ? 0 : space.available);
}

}  // namespace pastille::app
