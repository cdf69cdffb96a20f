#include "app/Installation.h"

#include <system_error>

namespace pastille::app {

Installation InstallationOf(const std::filesystem::path& program)
{
    namespace fs = std::filesystem;
    const auto isFolder = [](const fs::path& folder) {
        std::error_code error;
        return fs::is_directory(folder, error);
    };
    if (!program.is_absolute())
        return {};
    const fs::path above = program.parent_path().parent_path();
    const fs::path shared = above / "share";
    if (isFolder(shared / "pastille"))
        return {shared / "pastille", shared / "doc" / "pastille" / "manual", false};
    return {above, above / "docs" / "manual", isFolder(above / "Lang")};
}

}  // namespace pastille::app
