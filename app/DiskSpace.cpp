#include "app/DiskSpace.h"

#include <system_error>

namespace pastille::app {

bool HasRoomFor(platform::IFileSystem& fileSystem, const std::filesystem::path& source,
                const std::filesystem::path& destinationFolder)
{
    const auto file = fileSystem.OpenSource(source);
    std::error_code error;
    const auto space = std::filesystem::space(destinationFolder, error);
    return IsEnoughSpace(file != nullptr ? file->Size() : 0, error ? 0 : space.available);
}

}  // namespace pastille::app
