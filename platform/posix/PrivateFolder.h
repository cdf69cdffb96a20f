#pragma once

#include <filesystem>

namespace pastille::platform {

/// The user's home folder: HOME, else that of the user's entry in the system's list. "" when there is none: services
/// may have a home that does not exist.
std::filesystem::path HomeFolder();

/// True for a folder of this user's that is closed to all others. A link to one is none.
bool IsPrivateFolder(const std::filesystem::path& folder);

/// A folder of this user's in one where everybody may write, made when it is missing. Raises std::system_error when
/// what has its name is not private.
std::filesystem::path PrivateFolder(const std::filesystem::path& parent);

}  // namespace pastille::platform
