#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "tests/support/StoreMemory.h"

namespace pastille::tests {

/// A change of a file that is about to be made.
struct FileChange {
    enum class Kind { Create, Write, SetSize, Sync };
    Kind kind;
    const std::filesystem::path& path;
    std::uint64_t offset = 0;            ///< of a write; the new size of SetSize
    std::span<const std::byte> bytes{};  ///< of a write
    platform::IFile* below = nullptr;    ///< what it is to be made to; nullptr before the file is created
};

/// Makes half of a change: some of a write's pages, none of the others. Hosts write pages of 4096 bytes
/// whole.
void MakeHalf(const FileChange& change);

/// What goes wrong below the engine. Numbers count from 1 over all files of one file system.
struct FileFaults {
    struct Range {
        std::uint64_t offset, length;
    };
    std::vector<Range> unreadable{};                    ///< of every source: reads stop before it
    std::optional<std::uint64_t> shrinksTo{};           ///< sources end here, though they say they are longer
    std::optional<std::uint64_t> diskBytes{};           ///< writing fails once so many bytes were written
    std::optional<std::uint64_t> failingCreate{};       ///< this creation of a file fails
    bool syncs = true;                                  ///< false: what was written need not reach the disk
    std::function<void(std::uint64_t)> onSourceRead{};  ///< called with the offset of each read
    /// Called before each change, by one thread at a time. It may raise, or end the process.
    std::function<void(const FileChange&)> onChange{};
};

/// Hands everything to another file system. Those that change something of it derive from it.
class CFileSystemAbove : public platform::IFileSystem {
public:
    explicit CFileSystemAbove(platform::IFileSystem& below = platform::HostFileSystem()) : m_below(below) {}

    std::unique_ptr<platform::IByteSource> OpenSource(const std::filesystem::path& path) override
    {
        return m_below.OpenSource(path);
    }
    std::unique_ptr<platform::IFile> Create(const std::filesystem::path& path) override
    {
        return m_below.Create(path);
    }
    std::unique_ptr<platform::IFile> OpenExisting(const std::filesystem::path& path) override
    {
        return m_below.OpenExisting(path);
    }
    std::error_code CreateFolder(const std::filesystem::path& path) override
    {
        return m_below.CreateFolder(path);
    }
    std::error_code Remove(const std::filesystem::path& path) override { return m_below.Remove(path); }
    std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) override
    {
        return m_below.Rename(from, to);
    }

protected:
    platform::IFileSystem& m_below;
};

/// Another file system with the faults. Counts what it sees.
class CFaultyFileSystem final : public CFileSystemAbove {
public:
    explicit CFaultyFileSystem(FileFaults wanted = {},
                               platform::IFileSystem& below = platform::HostFileSystem())
        : CFileSystemAbove(below), faults(std::move(wanted))
    {
    }

    std::unique_ptr<platform::IByteSource> OpenSource(const std::filesystem::path& path) override;
    std::unique_ptr<platform::IFile> Create(const std::filesystem::path& path) override;
    std::unique_ptr<platform::IFile> OpenExisting(const std::filesystem::path& path) override;
    std::error_code CreateFolder(const std::filesystem::path& path) override
    {
        made.push_back(path);
        return m_below.CreateFolder(path);
    }
    std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) override
    {
        made.push_back(to);
        return m_below.Rename(from, to);
    }

    /// Raises std::system_error where the faults say so.
    void Meet(const FileChange& change);

    FileFaults faults;
    std::uint64_t written = 0;
    std::uint64_t creates = 0;
    std::vector<std::filesystem::path>
        made{};  ///< every file and folder that was to be created, or renamed to

private:
    std::mutex m_mutex;
};

/// A file system whose only source is in memory, and that keeps new files in memory too, until they are
/// closed.
class CMemoryFileSystem final : public platform::IFileSystem {
public:
    /// `bytes` must outlive this object.
    explicit CMemoryFileSystem(std::span<const std::byte> bytes) : m_bytes(bytes) {}
    std::unique_ptr<platform::IByteSource> OpenSource(const std::filesystem::path&) override
    {
        return std::make_unique<CMemorySource>(m_bytes);
    }
    std::unique_ptr<platform::IFile> Create(const std::filesystem::path&) override
    {
        return std::make_unique<CMemoryFile>();
    }
    std::unique_ptr<platform::IFile> OpenExisting(const std::filesystem::path&) override
    {
        return std::make_unique<CMemoryFile>();
    }
    std::error_code CreateFolder(const std::filesystem::path&) override { return {}; }
    std::error_code Remove(const std::filesystem::path&) override { return {}; }
    std::error_code Rename(const std::filesystem::path&, const std::filesystem::path&) override { return {}; }

private:
    std::span<const std::byte> m_bytes;
};

/// The bytes of a file; nothing when there is none.
Bytes FileBytes(const std::filesystem::path& path);

/// A folder of its own for one test, gone with this object.
class CTemporaryFolder {
public:
    CTemporaryFolder();
    ~CTemporaryFolder();
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;
    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }
    /// A new folder below it.
    std::filesystem::path MakeFolder(const std::string& name) const;
    std::filesystem::path WriteFile(const std::string& name, std::string_view bytes) const;

private:
    std::filesystem::path m_path;
};

}  // namespace pastille::tests
