#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace pastille::platform {

/// What tells one folder from every other, whatever path leads to it.
struct FolderId {
    std::uint64_t device = 0;
    std::uint64_t file = 0;
    bool operator==(const FolderId&) const = default;
};

enum class EntryKind { Folder, File, Link };

/// A place in a tree of folders, moved down and up. It holds one folder open whatever the depth, and no path
/// is too long for it. Nothing here throws but for want of memory: what cannot be read is not there.
class CFolderCursor {
public:
    CFolderCursor() = default;
    ~CFolderCursor();
    CFolderCursor(const CFolderCursor&) = delete;
    CFolderCursor& operator=(const CFolderCursor&) = delete;

    /// Goes to a folder, through links when there are some. False when it cannot be opened.
    bool Open(const std::filesystem::path& root);
    /// Goes to a folder in this one. False, staying here, when there is none of that name, when it is a link,
    /// or when it is the root of a file system that holds no files of users (processes, devices, settings of
    /// the kernel).
    bool Enter(const std::string& name);
    /// Goes back to the folder that Enter came from. When that one has gone meanwhile, the cursor points
    /// nowhere, where nothing is listed or entered, until Leave finds a folder again.
    void Leave();

    FolderId Id() const { return m_id; }
    const std::string& Path() const { return m_path; }
    /// Hands over every entry but "." and "..", in the host's order.
    void List(const std::function<void(std::string_view name, EntryKind kind)>& take) const;
    /// True when following a link of this folder ends at a folder.
    bool LeadsToFolder(const std::string& link) const;

private:
    struct Level {
        std::size_t pathLength;
        FolderId id;
    };

    bool Take(int descriptor);
    void Reopen();

    int m_descriptor = -1;  ///< -1 when the cursor points nowhere
    FolderId m_id;
    std::string m_path;
    std::vector<Level> m_above;  ///< the folders from the root to the one above this
};

}  // namespace pastille::platform
