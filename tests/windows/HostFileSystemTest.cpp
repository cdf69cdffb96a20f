#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/FileSystem.h"
#include "platform/Text.h"
#include "platform/windows/Win32.h"

#include <winioctl.h>

namespace pastille::platform {
namespace {

namespace fs = std::filesystem;

std::span<const std::byte> ViewOf(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

std::string Content(const fs::path& path)
{
    const auto source = HostFileSystem().OpenSource(path);
    if (!source)
        return "(not opened)";
    std::string content(static_cast<std::size_t>(source->Size()), '\0');
    content.resize(source->ReadAt(0, std::as_writable_bytes(std::span(content))));
    return content;
}

/// An empty folder that goes away with all that is in it.
class HostFiles : public testing::Test {
protected:
    HostFiles()
    {
        RemoveFolder();  // what a killed process of the same number may have left
        fs::create_directories(m_folder);
    }
    ~HostFiles() override { RemoveFolder(); }
    void RemoveFolder() const
    {
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(m_folder, error))
            ::SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);  // read-only ones stay otherwise
        fs::remove_all(m_folder, error);
    }
    fs::path Write(const fs::path& path, std::string_view content) const
    {
        m_files.Create(path)->WriteAt(0, ViewOf(content));
        return path;
    }
    /// Opened as another program would.
    static CHandle OpenBeside(const fs::path& path, DWORD access, DWORD share)
    {
        return CHandle(::CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
    }

    IFileSystem& m_files = HostFileSystem();
    const fs::path m_folder =
        fs::temp_directory_path() / ("pastille-" + std::to_string(::GetCurrentProcessId()));
};

TEST_F(HostFiles, BytesAreWrittenReadMappedAndCut)
{
    const auto file = m_files.Create(m_folder / "file");
    file->WriteAt(4, ViewOf("abcdef"));
    EXPECT_EQ(file->Size(), 10u);
    file->SetSize(6);
    file->Sync();
    const auto mapping = file->Map();
    ASSERT_NE(mapping, nullptr);
    ASSERT_EQ(mapping->Bytes().size(), 6u);
    EXPECT_EQ(mapping->Bytes()[5], std::byte{'b'});
    EXPECT_EQ(Content(m_folder / "file"), std::string("\0\0\0\0ab", 6));

    std::array<std::byte, 8> bytes{};
    EXPECT_EQ(file->ReadAt(4, bytes), 2u);
    EXPECT_EQ(file->ReadAt(6, bytes), 0u);
    EXPECT_EQ(file->ReadAt(~std::uint64_t{0}, bytes), 0u);
    EXPECT_TRUE(m_files.Create(m_folder / "empty")->Map()->Bytes().empty());
}

TEST_F(HostFiles, OnlyFilesAreSourcesAndReadingDoesNotTouchThem)
{
    for (const char* device : {"NUL", "CON", R"(\\.\NUL)", R"(\\.\pipe\nobody)"}) {
        EXPECT_EQ(m_files.OpenSource(device), nullptr) << device;
        EXPECT_THROW(m_files.OpenExisting(device), std::system_error) << device;
    }
    EXPECT_EQ(m_files.OpenSource(m_folder), nullptr);
    EXPECT_EQ(m_files.OpenSource(m_folder / "missing"), nullptr);

    const fs::path path = Write(m_folder / "file", "x");
    const FILETIME longAgo{0, 29'000'000};
    const auto set = OpenBeside(path, GENERIC_WRITE, FILE_SHARE_READ);
    ASSERT_TRUE(::SetFileTime(set.Get(), nullptr, &longAgo, &longAgo));
    EXPECT_EQ(Content(path), "x");
    FILETIME written{};
    ASSERT_TRUE(::GetFileTime(set.Get(), nullptr, nullptr, &written));
    EXPECT_EQ(written.dwHighDateTime, longAgo.dwHighDateTime);
}

TEST_F(HostFiles, AnOpenSourceIsReadAndAFileBeingWrittenHasOneWriter)
{
    const fs::path path = Write(m_folder / "mail.pst", "mail");
    {
        const auto other = OpenBeside(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ);
        ASSERT_TRUE(other.IsOpen());
        EXPECT_EQ(Content(path), "mail");
    }
    {
        const auto source = m_files.OpenSource(path);
        EXPECT_TRUE(OpenBeside(path, GENERIC_WRITE, FILE_SHARE_READ).IsOpen());
    }
    const auto writer = m_files.OpenExisting(path);
    EXPECT_TRUE(writer->TryLock());
    EXPECT_THROW(m_files.OpenExisting(path), std::system_error);
    EXPECT_EQ(Content(path), "mail");
}

TEST_F(HostFiles, ATemporaryFileIsHiddenAndGoesWhenItIsClosed)
{
    const fs::path path = m_folder / "index";
    auto file = m_files.CreateTemporary(path);
    file->WriteAt(0, ViewOf("abc"));
    EXPECT_NE(::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
    auto mapping = file->Map();
    ASSERT_NE(mapping, nullptr);
    mapping.reset();
    file.reset();
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(m_files.Remove(path), std::errc::no_such_file_or_directory);
}

TEST_F(HostFiles, ATemporaryFileReplacesALeftoverButNotOneInUse)
{
    const fs::path path = Write(m_folder / "index", "left over");
    {
        const auto file = m_files.CreateTemporary(path);
        EXPECT_EQ(file->Size(), 0u);
        EXPECT_NE(::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
        EXPECT_THROW(m_files.CreateTemporary(path), std::system_error);
        EXPECT_TRUE(Exists(path));
    }
    EXPECT_FALSE(Exists(path));
    ASSERT_FALSE(m_files.CreateFolder(path));
    EXPECT_THROW(m_files.CreateTemporary(path), std::system_error);
    EXPECT_TRUE(Exists(path));
}

TEST_F(HostFiles, OffsetsBehindFourGigabytes)
{
    const auto file = m_files.Create(m_folder / "large");
    DWORD unused = 0;
    ::DeviceIoControl(
        OpenBeside(m_folder / "large", FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE).Get(),
        FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
    constexpr std::uint64_t kFar = (std::uint64_t{5} << 32) + 7;
    file->WriteAt(7, ViewOf("near"));
    file->WriteAt(kFar, ViewOf("far"));
    EXPECT_EQ(file->Size(), kFar + 3);
    const auto source = m_files.OpenSource(m_folder / "large");
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->Size(), kFar + 3);
    std::string text(4, ' ');
    EXPECT_EQ(source->ReadAt(kFar, std::as_writable_bytes(std::span(text))), 3u);
    EXPECT_EQ(text, "far ");
    EXPECT_EQ(source->ReadAt(7, std::as_writable_bytes(std::span(text))), 4u);
    EXPECT_EQ(text, "near");
}

TEST_F(HostFiles, PathsOfAnyLengthAndScript)
{
    fs::path folder = m_folder;
    for (int level = 0; level < 4; ++level) {
        folder /= std::wstring(90, L'x') + L"\u65E5\u00E9";
        ASSERT_FALSE(m_files.CreateFolder(folder));
    }
    ASSERT_GT(folder.native().size(), std::size_t{MAX_PATH});
    const fs::path path = Write(folder / "a", "deep");
    EXPECT_EQ(Content(path), "deep");
    EXPECT_TRUE(Exists(path));
    EXPECT_FALSE(m_files.Rename(path, folder / "b"));
    EXPECT_EQ(Content(folder / "b"), "deep");
    EXPECT_FALSE(m_files.Remove(folder / "b"));
    for (; folder != m_folder; folder = folder.parent_path())
        ASSERT_TRUE(::RemoveDirectoryW(HostPath(folder).c_str()));
}

TEST_F(HostFiles, PathsAroundTheLimitsOfPlainOnes)
{
    const std::size_t room = m_folder.native().size() + 1;
    for (const std::size_t length : {246u, 247u, 248u, 249u, 259u, 260u, 261u}) {
        SCOPED_TRACE(length);
        ASSERT_LT(room + 1, length);
        const fs::path path = m_folder / std::wstring(length - room, L'n');
        ASSERT_EQ(path.native().size(), length);
        ASSERT_FALSE(m_files.CreateFolder(path));
        EXPECT_EQ(Content(Write(path / "a", "content")), "content");
        EXPECT_FALSE(m_files.Remove(path / "a"));
        EXPECT_TRUE(::RemoveDirectoryW(HostPath(path).c_str()));
        EXPECT_EQ(Content(Write(path, "content")), "content");
        EXPECT_FALSE(m_files.Remove(path));
    }
}

TEST_F(HostFiles, RemovingKeepsTheMarkOfWhatCannotBeRemoved)
{
    const fs::path path = Write(m_folder / "held", "x");
    const auto held = OpenBeside(path, GENERIC_READ, FILE_SHARE_READ);
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(m_files.Remove(path), std::errc::permission_denied);
    EXPECT_NE(::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
}

TEST(HostPaths, SurviveAsUtf8)
{
    const fs::path path(L"C:\\\u00DC \u65E5\u672C \xD83D\xDCEC.pst");
    EXPECT_EQ(PathBytes(path), "C:\\\xC3\x9C \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x93\xAC.pst");
    EXPECT_EQ(PathOfBytes(PathBytes(path)), path);
}

TEST(HostPaths, AreWholeAndTakeThePrefixWhenTheyAreLong)
{
    EXPECT_EQ(WholePath(R"(C:\a\.\b\..\c.pst)"), fs::path(R"(C:\a\c.pst)"));
    EXPECT_EQ(PathBytes(WholePath(R"(\\server\share\x/y.pst)")), R"(\\server\share\x\y.pst)");
    EXPECT_EQ(WholePath("here.pst"), fs::current_path() / "here.pst");

    const std::wstring name(300, L'n');
    EXPECT_EQ(HostPath(L"C:\\" + name), L"\\\\?\\C:\\" + name);
    EXPECT_EQ(HostPath(L"\\\\server\\share\\" + name), L"\\\\?\\UNC\\server\\share\\" + name);
    EXPECT_EQ(HostPath(L"\\\\?\\C:\\" + name), L"\\\\?\\C:\\" + name);
    EXPECT_EQ(HostPath(L"C:\\short"), L"C:\\short");
}

TEST(HostPaths, AreCompletedAsTheHostDoes)
{
    const std::wstring current = fs::current_path().native();
    ASSERT_EQ(current.substr(1, 2), L":\\");
    EXPECT_EQ(WholePath(current.substr(0, 2) + L"x"), fs::path(current) / "x");
    EXPECT_EQ(WholePath("//server/share/a/../b"), fs::path(R"(\\server\share\b)"));
    EXPECT_EQ(WholePath(R"(C:\a\mail.pst. .)"), fs::path(R"(C:\a\mail.pst)"));
    EXPECT_EQ(WholePath(R"(\\?\C:\a\..\b. )"), fs::path(R"(\\?\C:\a\..\b. )"));
    const std::wstring name(300, L'n');
    EXPECT_EQ(HostPath(name), L"\\\\?\\" + (fs::path(current) / name).native());
}

TEST(HostPaths, LeadToFileSystemsOrAreRefused)
{
    for (const wchar_t* device :
         {L"\\\\.\\NUL", L"\\\\.\\C:", L"\\\\?\\pipe\\x", L"\\\\?\\COM1", L"\\\\?\\GLOBALROOT\\Device\\Null",
          L"\\\\?\\UNC\\host\\pipe\\x", L"\\\\?\\unc\\host\\PIPE\\x", L"\\\\host\\pipe\\x", L"\\\\host\\Pipe",
          L"\\\\host\\IPC$\\x", L"\\\\host\\mailslot\\x", L"\\\\?\\C:", L"\\\\?\\"}) {
        EXPECT_TRUE(IsDevicePath(device)) << PathBytes(device);
        EXPECT_EQ(HostFileSystem().OpenSource(device), nullptr) << PathBytes(device);
        EXPECT_THROW(HostFileSystem().Create(device), std::system_error) << PathBytes(device);
    }
    EXPECT_TRUE(IsDevicePath(HostPath("//?/pipe/x")));
    EXPECT_TRUE(IsDevicePath(HostPath("//host/pipe/x")));
    for (const wchar_t* file :
         {L"C:\\pipe\\x", L"\\\\?\\c:\\x", L"\\\\?\\UNC\\host\\share\\x", L"\\\\host\\pipes\\x",
          L"\\\\pipe\\share\\x", L"\\\\?\\Volume{01234567-89ab-cdef-0123-456789abcdef}\\x"})
        EXPECT_FALSE(IsDevicePath(file)) << PathBytes(file);
    // "D:NUL" is the device, wherever that drive's current folder is.
    EXPECT_EQ(HostFileSystem().OpenSource("D:NUL"), nullptr);
    EXPECT_THROW(HostFileSystem().Create("D:NUL"), std::system_error);
}

TEST_F(HostFiles, FailuresAreTheOnesOfEveryHost)
{
    EXPECT_THROW(m_files.Create(m_folder / "no" / "file"), std::system_error);
    EXPECT_THROW(m_files.Create("NUL"), std::system_error);
    EXPECT_THROW(m_files.OpenExisting(m_folder / "missing"), std::system_error);
    EXPECT_EQ(m_files.CreateFolder(m_folder), std::errc::file_exists);
    EXPECT_EQ(m_files.CreateFolder(m_folder / "a" / "b"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(m_files.Remove(m_folder / "missing"), std::errc::no_such_file_or_directory);

    const fs::path from = Write(m_folder / "from", "new");
    const fs::path to = Write(m_folder / "to", "old");
    EXPECT_EQ(m_files.Rename(from, to), std::errc::file_exists);
    EXPECT_EQ(Content(to), "old");
    ::SetFileAttributesW(to.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(m_files.Remove(to));
    EXPECT_FALSE(Exists(to));

    EXPECT_EQ(Failure(ERROR_DISK_FULL), std::errc::no_space_on_device);
    EXPECT_EQ(Failure(ERROR_CRC), std::errc::io_error);
}

}  // namespace
}  // namespace pastille::platform
