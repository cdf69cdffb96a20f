#include "platform/FileSystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <fstream>
#include <string>

#include "tests/support/FaultyFileSystem.h"

namespace pastille::platform {
namespace {

namespace fs = std::filesystem;

class FileSystemTest : public testing::Test {
protected:
    fs::path WriteFile(const std::string& name, const std::string& content) const
    {
        return m_temporary.WriteFile(name, content);
    }
    static std::string ReadAll(const fs::path& path)
    {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    IFileSystem& m_fileSystem = HostFileSystem();
    tests::CTemporaryFolder m_temporary;
    const fs::path& m_folder = m_temporary.Path();
};

TEST_F(FileSystemTest, OnlyRegularFilesAreSources)
{
    ASSERT_EQ(::mkfifo((m_folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(m_fileSystem.OpenSource(m_folder / "fifo"), nullptr);  // and it must not wait for a writer
    EXPECT_EQ(m_fileSystem.OpenSource(m_folder), nullptr);
    EXPECT_EQ(m_fileSystem.OpenSource(m_folder / "missing"), nullptr);
    EXPECT_EQ(m_fileSystem.OpenSource("/dev/zero"), nullptr);
    EXPECT_NE(m_fileSystem.OpenSource(WriteFile("file", "x")), nullptr);
}

TEST_F(FileSystemTest, ReadingStopsAtTheEndAndLeavesTheTimes)
{
    const fs::path path = WriteFile("file", "0123456789");
    const timespec longAgo[2] = {{1'000'000'000, 0}, {1'100'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), longAgo, 0), 0);

    const auto source = m_fileSystem.OpenSource(path);
    std::array<std::byte, 8> bytes{};
    EXPECT_EQ(source->Size(), 10u);
    EXPECT_EQ(source->ReadAt(0, bytes), 8u);
    EXPECT_EQ(source->ReadAt(6, bytes), 4u);
    EXPECT_EQ(bytes[0], std::byte{'6'});
    EXPECT_EQ(source->ReadAt(10, bytes), 0u);
    EXPECT_EQ(source->ReadAt(~std::uint64_t{0}, bytes), 0u);

    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_atim.tv_sec, 1'000'000'000);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'100'000'000);

    fs::resize_file(path, 3);
    EXPECT_EQ(source->Size(), 10u);
    EXPECT_EQ(source->CurrentSize(), 3u);
}

TEST_F(FileSystemTest, WrittenBytesAreReadMappedAndCut)
{
    const auto file = m_fileSystem.Create(m_folder / "file");
    const std::string text = "abcdef";
    file->WriteAt(4, std::as_bytes(std::span(text)));
    EXPECT_EQ(file->Size(), 10u);
    file->SetSize(6);
    const auto mapping = file->Map();
    ASSERT_NE(mapping, nullptr);
    ASSERT_EQ(mapping->Bytes().size(), 6u);
    EXPECT_EQ(mapping->Bytes()[0], std::byte{0});
    EXPECT_EQ(mapping->Bytes()[5], std::byte{'b'});
    file->Sync();
    EXPECT_EQ(ReadAll(m_folder / "file"), std::string("\0\0\0\0ab", 6));
}

TEST_F(FileSystemTest, FailuresAreReported)
{
    EXPECT_THROW(m_fileSystem.Create(m_folder / "no" / "file"), std::system_error);
    EXPECT_THROW(m_fileSystem.OpenExisting(m_folder / "missing"), std::system_error);
    EXPECT_EQ(m_fileSystem.CreateFolder(m_folder), std::errc::file_exists);
    EXPECT_EQ(m_fileSystem.CreateFolder(m_folder / "a" / "b"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(m_fileSystem.Remove(m_folder / "missing"), std::errc::no_such_file_or_directory);

    const fs::path full = "/dev/full";
    if (fs::exists(full)) {
        const auto file = m_fileSystem.OpenExisting(full);
        const std::array<std::byte, 4> bytes{};
        EXPECT_THROW(file->WriteAt(0, bytes), std::system_error);
    }
}

TEST_F(FileSystemTest, WritingNeverFollowsALinkOutOfTheFolder)
{
    const fs::path victim = WriteFile("victim", "keep me");
    fs::create_symlink(victim, m_folder / "link");
    EXPECT_THROW(m_fileSystem.Create(m_folder / "link"), std::system_error);
    EXPECT_EQ(ReadAll(victim), "keep me");
}

TEST_F(FileSystemTest, ANameIsTakenByAnythingALinkToNothingToo)
{
    EXPECT_TRUE(Exists(m_folder));
    EXPECT_TRUE(Exists(WriteFile("file", "x")));
    EXPECT_FALSE(Exists(m_folder / "missing"));
    fs::create_symlink(m_folder / "missing", m_folder / "link");
    EXPECT_TRUE(Exists(m_folder / "link"));
}

TEST_F(FileSystemTest, RenamingReplacesNothing)
{
    const fs::path from = WriteFile("from", "new");
    const fs::path to = WriteFile("to", "old");
    EXPECT_EQ(m_fileSystem.Rename(from, to), std::errc::file_exists);
    EXPECT_EQ(ReadAll(to), "old");
    EXPECT_FALSE(m_fileSystem.Rename(from, m_folder / "third"));
    EXPECT_EQ(ReadAll(m_folder / "third"), "new");
}

}  // namespace
}  // namespace pastille::platform
