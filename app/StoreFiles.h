#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FolderCursor.h"

namespace pastille::app {

/// True when the name ends in a dot and the extension ("pst"), whatever the case of A to Z.
bool HasExtension(std::string_view name, std::string_view extension);

/// What a search wants of one folder: names, sorted without regard to the case of A to Z.
struct FolderContents {
    std::vector<std::string> psts, osts;  ///< everything of the pattern that is no folder
    std::vector<std::string> folders;     ///< without links
};
FolderContents ReadContents(const platform::CFolderCursor& folder);

/// Full paths of the files *.PST, then of the files *.OST in one folder. Nothing when it cannot be read.
std::vector<std::filesystem::path> FindStores(const std::filesystem::path& folder);

}  // namespace pastille::app
