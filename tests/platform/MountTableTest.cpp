#include "platform/MountTable.h"

#include <gtest/gtest.h>

namespace pastille::platform {
namespace {

struct Case {
    const char* line;
    const char* root;  ///< nullptr: no mount
    bool holdsFiles = false;
    bool removable = false;
};

TEST(MountTable, TellsDrivesFromViewsOfTheSystemWithoutLookingAtThem)
{
    const Case cases[] = {
        {"36 25 8:1 / / rw,noatime shared:1 - ext4 /dev/sda1 rw", "/", true},
        {"40 36 0:51 / /mnt/no\\040such\\134host rw shared:2 master:1 - nfs4 host:/x rw",
         "/mnt/no such\\host", true},
        {"41 36 0:52 /sub /absent rw - nfs host:/ rw", "/absent", true},
        {"42 36 11:0 / /media/cd ro - iso9660 /dev/disk/by-id/x ro", "/media/cd", true, true},
        {"43 36 2:0 / /media/floppy rw - vfat /dev/fd0 rw", "/media/floppy", true, true},
        {"44 36 0:5 / /proc rw - proc proc rw", "/proc"},
        {"45 36 0:53 / /dev/shm rw - tmpfs tmpfs rw", "/dev/shm"},
        {"46 36 0:54 / /device rw - tmpfs tmpfs rw", "/device", true},
        {"47 36 0:55 / /run/user/1000 rw - tmpfs tmpfs rw", "/run/user/1000"},
        {"48 36 8:17 / /run/media/me/\\303\\244 rw - vfat /dev/sdb1 rw", "/run/media/me/\xC3\xA4", true},
        {"49 36 8:1 /hosts /proc/self/status rw - ext4 /dev/sda1 rw", "/proc/self/status"},
        {"50 36 8:1 /hosts /etc/passwd rw - ext4 /dev/sda1 rw", "/etc/passwd"},
        {"51 36 8:1 /@home /usr rw - btrfs /dev/sda1 rw", "/usr", true},
        {"52 36 8:1 / /unfinished rw shared:1", nullptr},
        {"53 36 x / /unnumbered rw - ext4 /dev/sda1 rw", nullptr},
        {"54 36 8:1 / relative rw - ext4 /dev/sda1 rw", nullptr},
        {"garbage", nullptr},
        {"", nullptr},
    };
    for (const auto& [line, root, holdsFiles, removable] : cases) {
        const auto mounts = ParseMounts(line);
        ASSERT_EQ(mounts.size(), root == nullptr ? 0U : 1U) << line;
        if (root == nullptr)
            continue;
        EXPECT_EQ(mounts[0].root, root);
        EXPECT_EQ(CanHoldUserFiles(mounts[0]), holdsFiles) << line;
        EXPECT_EQ(IsRemovable(mounts[0]), removable) << line;
    }
}

TEST(MountTable, OfSeveralMountsOnAFolderTheLastCounts)
{
    const auto mounts = ParseMounts(
        "1 0 8:1 / /z rw - ext4 /dev/sda1 rw\n"
        "2 0 0:9 / /net rw - autofs systemd-1 rw\n"
        "3 2 0:10 / /net rw - cifs //host/share rw");
    ASSERT_EQ(mounts.size(), 2U);
    EXPECT_EQ(mounts[0].type, "cifs");
    EXPECT_EQ(mounts[1].root, "/z");
}

TEST(MountTable, OfThisProcessHasARoot)
{
    const auto mounts = Mounts();
    ASSERT_FALSE(mounts.empty());
    EXPECT_EQ(mounts.front().root, "/");
}

}  // namespace
}  // namespace pastille::platform
