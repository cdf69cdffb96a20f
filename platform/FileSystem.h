#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>

namespace pastille::platform {

/// A file that is only read. Reading never throws: what cannot be read is not there.
class IByteSource {
public:
    virtual ~IByteSource() = default;

    /// Reads up to `into.size()` bytes at `offset` bytes from the start. Returns how many bytes were placed
    /// at the start of `into`: fewer than asked for at the end of the file and before a sector that cannot be
    /// read, 0 past the end.
    virtual std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept = 0;

    /// Size in bytes at the time of opening. The file may have become shorter since.
    virtual std::uint64_t Size() const noexcept = 0;
    /// Size in bytes now, so that the end of a shrunken file can be told from a sector that fails.
    virtual std::uint64_t CurrentSize() const noexcept { return Size(); }
};

/// Bytes that are handed over piece by piece, once.
class IByteStream {
public:
    virtual ~IByteStream() = default;
    /// Places up to `into.size()` bytes at the start of `into`. Returns how many; 0 only at the end.
    virtual std::size_t Read(std::span<std::byte> into) = 0;
};

/// The bytes of a whole file in memory, valid as long as the mapping lives.
class IMapping {
public:
    virtual ~IMapping() = default;
    virtual std::span<const std::byte> Bytes() const noexcept = 0;
};

/// A file of our own making, read and written at offsets. Writing raises std::system_error (disk full, quota,
/// a device that fails).
class IFile : public IByteSource {
public:
    /// Writes all of `bytes` at `offset`, growing the file where needed.
    virtual void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) = 0;
    /// Cuts the file or grows it with zeros.
    virtual void SetSize(std::uint64_t size) = 0;
    /// Returns when everything written is on the disk.
    virtual void Sync() = 0;
    /// Takes the lock that says that this file is being written, until the file is closed. False when another
    /// open file has it, in this process or another one. True where there are no such locks.
    virtual bool TryLock() { return true; }
    /// Maps the whole file as it is now, read only. nullptr when the host cannot.
    virtual std::unique_ptr<IMapping> Map() = 0;
};

/// What the engine asks of the host's file system. Tests put failing ones in its place.
class IFileSystem {
public:
    virtual ~IFileSystem() = default;

    /// Opens an existing regular file for reading only, leaving its times as they are where the host allows
    /// it. nullptr when it cannot be opened or is no regular file. Never blocks on a FIFO or a device.
    virtual std::unique_ptr<IByteSource> OpenSource(const std::filesystem::path& path) = 0;
    /// Creates a file for reading and writing, emptying one that exists. Raises std::system_error.
    virtual std::unique_ptr<IFile> Create(const std::filesystem::path& path) = 0;
    /// Does as Create for a file that is only needed while it is open, hidden from listings where the host
    /// has a mark for that; one that exists may be removed and made anew. Some hosts remove it when it is
    /// closed or its process ends; on others Remove does.
    virtual std::unique_ptr<IFile> CreateTemporary(const std::filesystem::path& path) { return Create(path); }
    /// Opens an existing file for reading and writing. Raises std::system_error.
    virtual std::unique_ptr<IFile> OpenExisting(const std::filesystem::path& path) = 0;
    /// Creates one folder whose parent exists. An existing one is an error (file_exists).
    virtual std::error_code CreateFolder(const std::filesystem::path& path) = 0;
    virtual std::error_code Remove(const std::filesystem::path& path) = 0;
    /// Renames within one file system; replaces nothing (file_exists when `to` exists).
    virtual std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
};

/// The host's own file system; lives as long as the process.
IFileSystem& HostFileSystem();

/// The path from the root of the host's files, without ".". ".." stays where the folder before it may be a
/// link to another place. What cannot be completed comes back as it is.
std::filesystem::path WholePath(const std::filesystem::path& path);
/// True when the name is taken in its folder: by a file, a folder or anything else, and by a link whether or not
/// it leads to something. False also when that cannot be told.
bool Exists(const std::filesystem::path& path);
/// Characters that no file name may have, beside the separators.
std::string_view ForbiddenInNames();

}  // namespace pastille::platform
