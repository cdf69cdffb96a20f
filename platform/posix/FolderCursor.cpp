#include "platform/FolderCursor.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>

namespace pastille::platform {
namespace {

constexpr int kPlaceOnly = O_PATH | O_DIRECTORY | O_CLOEXEC;

bool IdOf(int descriptor, FolderId& id)
{
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return false;
    id = {status.st_dev, status.st_ino};
    return true;
}

bool HoldsNoUserFiles(int descriptor)
{
    constexpr std::array<unsigned long, 11> kinds = {
        PROC_SUPER_MAGIC, SYSFS_MAGIC,    CGROUP_SUPER_MAGIC, CGROUP2_SUPER_MAGIC,
        DEBUGFS_MAGIC,    TRACEFS_MAGIC,  SECURITYFS_MAGIC,   DEVPTS_SUPER_MAGIC,
        BPF_FS_MAGIC,     BINFMTFS_MAGIC, EFIVARFS_MAGIC};
    struct statfs status {};
    return ::fstatfs(descriptor, &status) == 0 &&
           std::ranges::find(kinds, static_cast<unsigned long>(status.f_type)) != kinds.end();
}

EntryKind KindOf(int folder, const dirent& entry)
{
    switch (entry.d_type) {
        case DT_DIR:
            return EntryKind::Folder;
        case DT_LNK:
            return EntryKind::Link;
        case DT_UNKNOWN:
            break;
        default:
            return EntryKind::File;
    }
    struct stat status {};
    if (::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return EntryKind::File;
    return S_ISDIR(status.st_mode)   ? EntryKind::Folder
           : S_ISLNK(status.st_mode) ? EntryKind::Link
                                     : EntryKind::File;
}

/// Opens a path of any length: the host takes only so much of it at a time.
int OpenPlace(std::string_view path)
{
    constexpr std::size_t mostAtATime = 4000;
    int from = AT_FDCWD;
    while (true) {
        std::size_t length = path.size();
        if (length > mostAtATime) {
            const std::size_t cut = path.rfind('/', mostAtATime);
            length = cut == std::string_view::npos || cut == 0 ? path.size() : cut;
        }
        const int next = ::openat(from, std::string(path.substr(0, length)).c_str(), kPlaceOnly);
        if (from != AT_FDCWD)
            ::close(from);
        path.remove_prefix(length);
        path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
        if (next < 0 || path.empty())
            return next;
        from = next;
    }
}

}  // namespace

CFolderCursor::~CFolderCursor()
{
    Take(-1);
}

bool CFolderCursor::Take(int descriptor)
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = descriptor;
    return descriptor >= 0;
}

bool CFolderCursor::Open(const std::filesystem::path& root)
{
    m_path = root.native();
    m_above.clear();
    while (m_path.size() > 1 && m_path.back() == '/')
        m_path.pop_back();
    const int place = OpenPlace(m_path);
    return Take(place) && IdOf(place, m_id);
}

bool CFolderCursor::Enter(const std::string& name)
{
    const int place = m_descriptor < 0 ? -1 : ::openat(m_descriptor, name.c_str(), kPlaceOnly | O_NOFOLLOW);
    FolderId id;
    if (place < 0)
        return false;
    if (!IdOf(place, id) || (id.device != m_id.device && HoldsNoUserFiles(place))) {
        ::close(place);
        return false;
    }
    m_above.push_back({m_path.size(), m_id});
    if (m_path.back() != '/')
        m_path += '/';
    m_path += name;
    m_id = id;
    return Take(place);
}

void CFolderCursor::Leave()
{
    if (m_above.empty())
        return;
    const Level above = m_above.back();
    m_above.pop_back();
    m_path.resize(above.pathLength);
    m_id = above.id;
    const int place = m_descriptor < 0 ? -1 : ::openat(m_descriptor, "..", kPlaceOnly);
    Take(place);
    FolderId found;
    if (place < 0 || !IdOf(place, found) || found != above.id)
        Reopen();
}

/// For a folder that was moved while the cursor was below it, or that lets nobody out.
void CFolderCursor::Reopen()
{
    const int place = OpenPlace(m_path);
    FolderId found;
    Take(place);
    if (place >= 0 && (!IdOf(place, found) || found != m_id))
        Take(-1);
}

void CFolderCursor::List(const std::function<void(std::string_view name, EntryKind kind)>& take) const
{
    const int readable =
        m_descriptor < 0 ? -1 : ::openat(m_descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* folder = readable < 0 ? nullptr : ::fdopendir(readable);
    if (folder == nullptr) {
        if (readable >= 0)
            ::close(readable);
        return;
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> closing(folder, ::closedir);
    while (const dirent* entry = ::readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            take(name, KindOf(readable, *entry));
    }
}

bool CFolderCursor::LeadsToFolder(const std::string& link) const
{
    struct stat status {};
    return m_descriptor >= 0 && ::fstatat(m_descriptor, link.c_str(), &status, 0) == 0 &&
           S_ISDIR(status.st_mode);
}

}  // namespace pastille::platform
