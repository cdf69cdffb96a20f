#include "app/WineFolders.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

namespace pastille::app {
namespace {

namespace fs = std::filesystem;

fs::path FolderFrom(const char* variable)
{
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "";
}

std::vector<fs::path> FoldersIn(const fs::path& folder)
{
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        std::error_code unreadable;
        if (entry->is_directory(unreadable))
            found.push_back(entry->path());
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

std::vector<fs::path> WinePrefixes()
{
    std::vector<fs::path> prefixes;
    const fs::path home = FolderFrom("HOME");
    if (const fs::path chosen = FolderFrom("WINEPREFIX"); chosen.is_absolute())
        prefixes.push_back(chosen);
    if (!home.is_absolute())
        return prefixes;
    prefixes.push_back(home / ".wine");
    const auto others = FoldersIn(home / ".local/share/wineprefixes");
    prefixes.insert(prefixes.end(), others.begin(), others.end());
    return prefixes;
}

std::vector<fs::path> WineMailFolders(const fs::path& prefix)
{
    std::vector<fs::path> folders;
    for (const fs::path& user : FoldersIn(prefix / "drive_c/users")) {
        folders.push_back(user / "AppData/Local/Microsoft/Outlook");
        folders.push_back(user / "Local Settings/Application Data/Microsoft/Outlook");
        folders.push_back(user / "Documents/Outlook Files");
        folders.push_back(user / "My Documents/Outlook Files");
    }
    return folders;
}

}  // namespace pastille::app
