#include "platform/MountTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <system_error>

namespace pastille::platform {
namespace {

// Numbers of drivers, as the kernel assigns them.
constexpr unsigned kFloppy = 2;
constexpr unsigned kOpticalDisc = 11;

bool IsOneOf(std::string_view text, const auto& list)
{
    return std::ranges::find(list, text) != std::end(list);
}

bool IsBelow(std::string_view path, std::string_view folder)
{
    return path == folder || (path.starts_with(folder) && path.substr(folder.size()).starts_with('/'));
}

std::string_view TakeWord(std::string_view& line)
{
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(word.size() + 1, line.size()));
    return word;
}

/// Blanks and the like stand in the table as a backslash and three octal digits.
std::string Unescaped(std::string_view word)
{
    std::string text;
    while (!word.empty()) {
        unsigned value = 0;
        const char* end = word.data() + std::min<std::size_t>(word.size(), 4);
        if (word.size() >= 4 && word[0] == '\\' &&
            std::from_chars(word.data() + 1, end, value, 8).ptr == end) {
            text += static_cast<char>(value);
            word.remove_prefix(4);
        } else {
            text += word[0];
            word.remove_prefix(1);
        }
    }
    return text;
}

/// "id parent major:minor folder root options [fields...] - type source options".
bool ParseLine(std::string_view line, Mount& mount)
{
    TakeWord(line);
    TakeWord(line);
    const std::string_view device = TakeWord(line);
    mount.isWhole = TakeWord(line) == "/";
    mount.root = Unescaped(TakeWord(line));
    const std::size_t separator = line.find(" - ");
    if (!mount.root.starts_with('/') || separator == std::string_view::npos)
        return false;
    line.remove_prefix(separator + 3);
    mount.type = Unescaped(TakeWord(line));
    const auto major = std::from_chars(device.data(), device.data() + device.size(), mount.deviceMajor);
    return major.ec == std::errc() && !mount.type.empty();
}

/// Part of a file system can be a single file, mounted on a file. Only file systems that answer at all times
/// are asked.
bool IsMountedFile(const Mount& mount)
{
    static constexpr std::array<std::string_view, 9> kLocal = {"btrfs", "ext2", "ext3", "ext4", "f2fs",
                                                               "tmpfs", "vfat", "xfs",  "zfs"};
    std::error_code error;
    return !mount.isWhole && IsOneOf(mount.type, kLocal) && !std::filesystem::is_directory(mount.root, error);
}

}  // namespace

std::vector<Mount> ParseMounts(std::string_view table)
{
    std::map<std::string, Mount> byRoot;
    while (!table.empty()) {
        const std::string_view line = table.substr(0, table.find('\n'));
        table.remove_prefix(std::min(line.size() + 1, table.size()));
        Mount mount;
        if (ParseLine(line, mount))
            byRoot[mount.root] = mount;
    }
    std::vector<Mount> mounts;
    for (auto& [root, mount] : byRoot)
        mounts.push_back(std::move(mount));
    return mounts;
}

std::vector<Mount> Mounts()
{
    std::ifstream file("/proc/self/mountinfo", std::ios::binary);
    return ParseMounts(std::string{std::istreambuf_iterator<char>(file), {}});
}

bool CanHoldUserFiles(const Mount& mount)
{
    static constexpr std::array<std::string_view, 22> kViews = {
        "autofs",   "binfmt_misc", "bpf",        "cgroup",    "cgroup2", "configfs", "debugfs", "devpts",
        "devtmpfs", "efivarfs",    "fusectl",    "hugetlbfs", "mqueue",  "nsfs",     "proc",    "pstore",
        "ramfs",    "rpc_pipefs",  "securityfs", "squashfs",  "sysfs",   "tracefs"};
    static constexpr std::array<std::string_view, 3> kSystem = {"/dev", "/proc", "/sys"};
    const auto isSystem = [&](std::string_view folder) { return IsBelow(mount.root, folder); };
    return !IsOneOf(mount.type, kViews) && std::ranges::none_of(kSystem, isSystem) &&
           (!IsBelow(mount.root, "/run") || IsBelow(mount.root, "/run/media")) && !IsMountedFile(mount);
}

bool IsRemovable(const Mount& mount)
{
    return mount.deviceMajor == kFloppy || mount.deviceMajor == kOpticalDisc;
}

}  // namespace pastille::platform
