#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace pastille::component {

/// One store of a profile.
struct ProfileStore {
    std::filesystem::path path;
    std::u16string displayName;
    friend bool operator==(const ProfileStore&, const ProfileStore&) = default;
};

/// What a profile file holds.
struct Profile {
    std::u16string name;
    std::vector<ProfileStore> stores;  ///< in the order in which they were added
};

/// The profiles of a user: one small text file each, in one folder. Nothing is cached, so that every session
/// sees what the others have added.
///
/// A file holds one line per fact: "profile" and the name, "store" and path and display name. Names are
/// written with every character outside a to z, 0 to 9, "-" and "_" as "%" and its four hexadecimal digits; a
/// path's characters are those of the host.
class CProfileFiles {
public:
    /// `folder` is made with its parents when the first profile is written. `files` outlives this object.
    CProfileFiles(platform::IFileSystem& files, std::filesystem::path folder);

    /// nullopt when there is no such profile or its file cannot be read.
    std::optional<Profile> Read(std::u16string_view name) const;
    /// Writes a profile anew, so that a crash leaves the old or the new one. Raises std::system_error.
    void Write(const Profile& profile);

private:
    std::filesystem::path PathOf(std::u16string_view name) const;
    std::optional<Profile> ReadFile(const std::filesystem::path& path) const;
    void MakeFolder();

    platform::IFileSystem& m_files;
    std::filesystem::path m_folder;
};

}  // namespace pastille::component
