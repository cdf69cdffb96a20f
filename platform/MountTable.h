#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pastille::platform {

/// A file system and the folder that it is mounted on. The bytes of the paths are the host's.
struct Mount {
    std::string root;
    std::string type;          ///< as "ext4", "nfs4"
    unsigned deviceMajor = 0;  ///< number of the driver; 0 when there is no device
    bool isWhole = true;       ///< false when only a folder or file of the file system is mounted
    bool operator==(const Mount&) const = default;
};

/// Reads a table in the form of /proc/self/mountinfo (proc(5)). Lines of another form are left out. Of
/// several mounts on one folder only the last is there: it hides the others. Sorted by root.
std::vector<Mount> ParseMounts(std::string_view table);

/// The mounts of this process, from the kernel's table alone: none of them is touched, so none that no longer
/// answers holds the caller up. None when there is no such table.
std::vector<Mount> Mounts();

/// False for file systems that hold no files of users, only views of the system.
bool CanHoldUserFiles(const Mount& mount);

/// True for floppies and optical discs.
bool IsRemovable(const Mount& mount);

}  // namespace pastille::platform
