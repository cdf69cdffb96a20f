#include "platform/FileSystem.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace pastille::platform {
namespace {

/// Largest single transfer; larger requests are cut because the host does so anyway at its own limit.
constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;

[[noreturn]] void RaiseErrno(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

class CDescriptor {
public:
    explicit CDescriptor(int fd) noexcept : m_fd(fd) {}
    CDescriptor(CDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    CDescriptor& operator=(CDescriptor&&) = delete;
    ~CDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    int Get() const noexcept { return m_fd; }

private:
    int m_fd;
};

std::uint64_t SizeOf(int fd) noexcept
{
    struct stat status {};
    return ::fstat(fd, &status) == 0 && status.st_size > 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

/// The host gives what lies before a page of a bad sector, and the error with the next transfer.
std::size_t ReadFully(int fd, std::uint64_t offset, std::span<std::byte> into) noexcept
{
    std::size_t done = 0;
    while (done < into.size()) {
        if (offset + done > static_cast<std::uint64_t>(INT64_MAX))
            break;
        const std::size_t wanted = std::min(into.size() - done, kLargestTransfer);
        const ssize_t got = ::pread(fd, into.data() + done, wanted, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

class CHostSource final : public IByteSource {
public:
    explicit CHostSource(CDescriptor fd) : m_fd(std::move(fd)), m_size(SizeOf(m_fd.Get())) {}
    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        return ReadFully(m_fd.Get(), offset, into);
    }
    std::uint64_t Size() const noexcept override { return m_size; }
    std::uint64_t CurrentSize() const noexcept override { return SizeOf(m_fd.Get()); }

private:
    CDescriptor m_fd;
    std::uint64_t m_size;
};

class CHostMapping final : public IMapping {
public:
    CHostMapping(void* start, std::size_t size) : m_start(start), m_size(size) {}
    CHostMapping(const CHostMapping&) = delete;
    CHostMapping& operator=(const CHostMapping&) = delete;
    ~CHostMapping() override
    {
        if (m_size != 0)
            ::munmap(m_start, m_size);
    }
    std::span<const std::byte> Bytes() const noexcept override
    {
        return {static_cast<const std::byte*>(m_start), m_size};
    }

private:
    void* m_start;
    std::size_t m_size;
};

class CHostFile final : public IFile {
public:
    /// `folder`: of a file just made, which is on the disk only when its folder is; else empty.
    CHostFile(CDescriptor fd, std::filesystem::path folder) : m_fd(std::move(fd)), m_folder(std::move(folder))
    {
    }
    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        return ReadFully(m_fd.Get(), offset, into);
    }
    std::uint64_t Size() const noexcept override { return SizeOf(m_fd.Get()); }

    void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        while (!bytes.empty()) {
            const std::size_t wanted = std::min(bytes.size(), kLargestTransfer);
            const ssize_t put = ::pwrite(m_fd.Get(), bytes.data(), wanted, static_cast<off_t>(offset));
            if (put < 0 && errno == EINTR)
                continue;
            if (put < 0)
                RaiseErrno("write");
            if (put == 0)
                throw std::system_error(EIO, std::generic_category(), "write");
            offset += static_cast<std::uint64_t>(put);
            bytes = bytes.subspan(static_cast<std::size_t>(put));
        }
    }
    void SetSize(std::uint64_t size) override
    {
        if (::ftruncate(m_fd.Get(), static_cast<off_t>(size)) != 0)
            RaiseErrno("set file size");
    }
    void Sync() override
    {
        if (::fdatasync(m_fd.Get()) != 0)
            RaiseErrno("flush");
        if (m_folder.empty())
            return;
        // Not every file system can do it, and none fails only for a moment.
        const CDescriptor folder(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder.Get() >= 0)
            static_cast<void>(::fsync(folder.Get()));
        m_folder.clear();
    }
    bool TryLock() override { return ::flock(m_fd.Get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; }
    std::unique_ptr<IMapping> Map() override
    {
        const std::uint64_t size = SizeOf(m_fd.Get());
        if (size == 0)
            return std::make_unique<CHostMapping>(nullptr, 0);
        void* start = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, m_fd.Get(), 0);
        if (start == MAP_FAILED)
            return nullptr;
        return std::make_unique<CHostMapping>(start, size);
    }

private:
    CDescriptor m_fd;
    std::filesystem::path m_folder;
};

class CHostFileSystem final : public IFileSystem {
public:
    std::unique_ptr<IByteSource> OpenSource(const std::filesystem::path& path) override
    {
        // O_NONBLOCK: opening a FIFO must not wait for a writer. O_NOATIME is allowed to the owner only.
        constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
        int fd = ::open(path.c_str(), kFlags | O_NOATIME);
        if (fd < 0 && errno == EPERM)
            fd = ::open(path.c_str(), kFlags);
        if (fd < 0)
            return nullptr;
        CDescriptor owned(fd);
        struct stat status {};
        if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
            return nullptr;
        return std::make_unique<CHostSource>(std::move(owned));
    }

    std::unique_ptr<IFile> Create(const std::filesystem::path& path) override
    {
        return Open(path, O_RDWR | O_CREAT | O_TRUNC);
    }
    std::unique_ptr<IFile> OpenExisting(const std::filesystem::path& path) override
    {
        return Open(path, O_RDWR);
    }

    std::error_code CreateFolder(const std::filesystem::path& path) override
    {
        return Result(::mkdir(path.c_str(), 0777));
    }
    std::error_code Remove(const std::filesystem::path& path) override
    {
        return Result(::unlink(path.c_str()));
    }
    std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) override
    {
        if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
            return {};
        if (errno != EINVAL)
            return std::error_code(errno, std::generic_category());
        // Network file systems may not know how to rename so.
        if (::link(from.c_str(), to.c_str()) != 0)
            return std::error_code(errno, std::generic_category());
        return Remove(from);
    }

private:
    static std::unique_ptr<IFile> Open(const std::filesystem::path& path, int flags)
    {
        const int fd = ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW, 0666);
        if (fd < 0)
            RaiseErrno("open");
        std::filesystem::path folder;
        if ((flags & O_CREAT) != 0)
            folder = path.has_parent_path() ? path.parent_path() : ".";
        return std::make_unique<CHostFile>(CDescriptor(fd), std::move(folder));
    }
    static std::error_code Result(int returned)
    {
        return returned == 0 ? std::error_code{} : std::error_code(errno, std::generic_category());
    }
};

}  // namespace

IFileSystem& HostFileSystem()
{
    static CHostFileSystem fileSystem;
    return fileSystem;
}

std::filesystem::path WholePath(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path, error);
    if (error)
        return path;
    return std::ranges::find(whole, "..") == whole.end() ? whole.lexically_normal() : whole;
}

bool Exists(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(path, error));
}

std::string_view ForbiddenInNames()
{
    return {};
}

}  // namespace pastille::platform
