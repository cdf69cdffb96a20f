#pragma once

#include <filesystem>
#include <vector>

namespace pastille::app {

/// Places of the user's Wine prefixes: the one that WINEPREFIX names, ~/.wine, and those below
/// ~/.local/share/wineprefixes. The first two need not exist.
std::vector<std::filesystem::path> WinePrefixes();

/// Folders of a prefix's users in which mail programs keep their stores, whether they exist or not.
std::vector<std::filesystem::path> WineMailFolders(const std::filesystem::path& prefix);

}  // namespace pastille::app
