#include "platform/Host.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <system_error>

#include "platform/posix/PrivateFolder.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::platform {
namespace {

namespace fs = std::filesystem;

/// Variables of the process that get their values back at the end.
class HostFolders : public testing::Test {
protected:
    HostFolders()
    {
        for (const char* name : {"HOME", "PASTILLE_HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME",
                                 "XDG_STATE_HOME", "XDG_RUNTIME_DIR"}) {
            const char* const value = std::getenv(name);
            m_saved[name] = value == nullptr ? std::nullopt : std::optional<std::string>(value);
            ::unsetenv(name);
        }
    }
    ~HostFolders() override
    {
        for (const auto& [name, value] : m_saved)
            value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }
    static void Set(const char* name, const fs::path& value) { ::setenv(name, value.c_str(), 1); }
    static std::error_code PrivateFolderError(const fs::path& parent)
    {
        try {
            PrivateFolder(parent);
        } catch (const std::system_error& error) {
            return error.code();
        }
        return {};
    }

    tests::CTemporaryFolder m_folder;

private:
    std::map<std::string, std::optional<std::string>> m_saved;
};

TEST_F(HostFolders, FollowTheVariablesThatAreSet)
{
    Set("HOME", "/home/u");
    EXPECT_EQ(UserDataFolder(), "/home/u/.local/share/pastille");
    EXPECT_EQ(UserConfigFolder(), "/home/u/.config/pastille");
    EXPECT_EQ(UserRuntimeFolder(), "/home/u/.local/state/pastille");
    Set("XDG_DATA_HOME", "/data");
    Set("XDG_CONFIG_HOME", "not/whole");  // to be ignored, as the XDG Base Directory Specification says
    Set("XDG_STATE_HOME", "/state");
    EXPECT_EQ(UserDataFolder(), "/data/pastille");
    EXPECT_EQ(UserConfigFolder(), "/home/u/.config/pastille");
    EXPECT_EQ(UserRuntimeFolder(), "/state/pastille");
    Set("PASTILLE_HOME", "/own");
    EXPECT_EQ(UserDataFolder(), "/own/data");
    EXPECT_EQ(UserConfigFolder(), "/own/config");
    EXPECT_EQ(UserRuntimeFolder(), "/own/state");
}

TEST_F(HostFolders, TheSessionsFolderIsTakenWhenItIsForThisUserAlone)
{
    Set("HOME", "/home/u");
    const fs::path session = m_folder.Path() / "session";
    Set("XDG_RUNTIME_DIR", session);
    EXPECT_EQ(UserRuntimeFolder(), "/home/u/.local/state/pastille");
    ASSERT_EQ(::mkdir(session.c_str(), 0700), 0);
    EXPECT_EQ(UserRuntimeFolder(), session / "pastille");
    ASSERT_EQ(::chmod(session.c_str(), 0755), 0);
    EXPECT_EQ(UserRuntimeFolder(), "/home/u/.local/state/pastille");
}

TEST_F(HostFolders, AProcessWithoutHomeHasThatOfItsUser)
{
    const passwd* const entry = ::getpwuid(::geteuid());
    if (entry == nullptr || !fs::is_directory(entry->pw_dir))
        GTEST_SKIP() << "this user has no home";
    EXPECT_EQ(UserDataFolder(), fs::path(entry->pw_dir) / ".local/share/pastille");
    Set("HOME", "");
    EXPECT_EQ(UserConfigFolder(), fs::path(entry->pw_dir) / ".config/pastille");
}

TEST_F(HostFolders, TheLastResortIsClosedToOthersOrRefused)
{
    const fs::path made = PrivateFolder(m_folder.Path());
    struct stat status {};
    ASSERT_EQ(::lstat(made.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0700u);
    EXPECT_EQ(PrivateFolder(m_folder.Path()), made);

    ASSERT_EQ(::chmod(made.c_str(), 0770), 0);
    EXPECT_TRUE(PrivateFolderError(m_folder.Path()));
    fs::remove(made);
    fs::create_directory(m_folder.Path() / "elsewhere");
    ASSERT_EQ(::chmod((m_folder.Path() / "elsewhere").c_str(), 0700), 0);
    fs::create_directory_symlink(m_folder.Path() / "elsewhere", made);
    EXPECT_TRUE(PrivateFolderError(m_folder.Path()));
    fs::remove(made);
    std::ofstream(made) << "a file";
    EXPECT_TRUE(PrivateFolderError(m_folder.Path()));
    fs::remove(made);
    if (::geteuid() == 0) {  // only root can make what belongs to another
        fs::create_directory(made);
        ASSERT_EQ(::chmod(made.c_str(), 0700), 0);
        ASSERT_EQ(::chown(made.c_str(), 4711, 4711), 0);
        EXPECT_TRUE(PrivateFolderError(m_folder.Path()));
    }
    EXPECT_EQ(PrivateFolderError(m_folder.Path() / "missing"), std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace pastille::platform
