#include "platform/FileSystem.h"

#include <algorithm>
#include <limits>

#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

/// Largest single transfer, below the host's limits, network ones too.
constexpr std::size_t kLargestTransfer = std::size_t{16} << 20;
/// What is read at a time next to a sector that fails: no disk has smaller ones.
constexpr std::size_t kSmallestTransfer = 512;
/// Nobody keeps us from reading a file, whatever he has it open for.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// Of a file that is being written there is one writer.
constexpr DWORD kShareReading = FILE_SHARE_READ | FILE_SHARE_DELETE;

[[noreturn]] void RaiseLast(const char* what)
{
    throw std::system_error(Failure(::GetLastError()), what);
}

std::error_code Result(BOOL succeeded)
{
    return succeeded ? std::error_code{} : Failure(::GetLastError());
}

OVERLAPPED PlaceAt(std::uint64_t offset)
{
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

std::uint64_t SizeOf(HANDLE file) noexcept
{
    LARGE_INTEGER size{};
    return ::GetFileSizeEx(file, &size) && size.QuadPart > 0 ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

/// The host gives nothing of a transfer that meets a bad sector, so that one is tried in ever smaller parts.
std::size_t ReadFully(HANDLE file, std::uint64_t offset, std::span<std::byte> into) noexcept
{
    std::size_t done = 0;
    std::size_t most = kLargestTransfer;
    while (done < into.size()) {
        if (offset > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) - done)
            break;
        const std::size_t wanted = std::min(into.size() - done, most);
        OVERLAPPED place = PlaceAt(offset + done);
        DWORD got = 0;
        if (::ReadFile(file, into.data() + done, static_cast<DWORD>(wanted), &got, &place)) {
            if (got == 0)
                break;
            done += got;
            continue;
        }
        if (::GetLastError() == ERROR_HANDLE_EOF || wanted <= kSmallestTransfer)
            break;
        most = std::max(wanted / 2, kSmallestTransfer);
    }
    return done;
}

class CHostSource final : public IByteSource {
public:
    explicit CHostSource(CHandle file) : m_file(std::move(file)), m_size(SizeOf(m_file.Get())) {}
    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        return ReadFully(m_file.Get(), offset, into);
    }
    std::uint64_t Size() const noexcept override { return m_size; }
    std::uint64_t CurrentSize() const noexcept override { return SizeOf(m_file.Get()); }

private:
    CHandle m_file;
    std::uint64_t m_size;
};

class CHostMapping final : public IMapping {
public:
    CHostMapping(const void* start, std::size_t size) : m_start(start), m_size(size) {}
    CHostMapping(const CHostMapping&) = delete;
    CHostMapping& operator=(const CHostMapping&) = delete;
    ~CHostMapping() override
    {
        if (m_start != nullptr)
            ::UnmapViewOfFile(m_start);
    }
    std::span<const std::byte> Bytes() const noexcept override
    {
        return {static_cast<const std::byte*>(m_start), m_size};
    }

private:
    const void* m_start;
    std::size_t m_size;
};

class CHostFile final : public IFile {
public:
    explicit CHostFile(CHandle file) : m_file(std::move(file)) {}
    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        return ReadFully(m_file.Get(), offset, into);
    }
    std::uint64_t Size() const noexcept override { return SizeOf(m_file.Get()); }

    void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        while (!bytes.empty()) {
            const std::size_t wanted = std::min(bytes.size(), kLargestTransfer);
            OVERLAPPED place = PlaceAt(offset);
            DWORD put = 0;
            if (!::WriteFile(m_file.Get(), bytes.data(), static_cast<DWORD>(wanted), &put, &place))
                RaiseLast("write");
            if (put == 0)
                throw std::system_error(std::make_error_code(std::errc::no_space_on_device), "write");
            offset += put;
            bytes = bytes.subspan(put);
        }
    }
    void SetSize(std::uint64_t size) override
    {
        FILE_END_OF_FILE_INFO end{};
        end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
        if (!::SetFileInformationByHandle(m_file.Get(), FileEndOfFileInfo, &end, sizeof end))
            RaiseLast("set file size");
    }
    void Sync() override
    {
        if (!::FlushFileBuffers(m_file.Get()))
            RaiseLast("flush");
    }
    // TryLock: nobody else has the file open for writing, or it would not have been opened here.

    std::unique_ptr<IMapping> Map() override
    {
        const std::uint64_t size = SizeOf(m_file.Get());
        if (size == 0)
            return std::make_unique<CHostMapping>(nullptr, 0);
        const CHandle section(::CreateFileMappingW(m_file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
        const void* const start =
            section.IsOpen() ? ::MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 0) : nullptr;
        if (start == nullptr)
            return nullptr;
        return std::make_unique<CHostMapping>(start, static_cast<std::size_t>(size));
    }

private:
    CHandle m_file;
};

/// Reading does not count as an access, where that may be asked for.
void KeepAccessTime(HANDLE file)
{
    constexpr FILETIME kAsItIs{0xFFFFFFFF, 0xFFFFFFFF};
    static_cast<void>(::SetFileTime(file, nullptr, &kAsItIs, nullptr));
}

/// A path that leads elsewhere: a symbolic link or a mounted folder, but no file of a cloud's.
bool IsLink(HANDLE file)
{
    FILE_ATTRIBUTE_TAG_INFO info{};
    return ::GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof info) &&
           (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           IsReparseTagNameSurrogate(info.ReparseTag);
}

bool IsRegularFile(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION info{};
    return ::GetFileType(file) == FILE_TYPE_DISK && ::GetFileInformationByHandle(file, &info) &&
           (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

class CHostFileSystem final : public IFileSystem {
public:
    std::unique_ptr<IByteSource> OpenSource(const std::filesystem::path& path) override
    {
        const std::wstring name = HostPath(path);
        if (name.empty() || IsDevicePath(name))
            return nullptr;
        const auto open = [&](DWORD access) {
            return CHandle(::CreateFileW(name.c_str(), access, kShareAll, nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
        };
        CHandle file = open(GENERIC_READ | FILE_WRITE_ATTRIBUTES);
        if (file.IsOpen())
            KeepAccessTime(file.Get());
        else
            file = open(GENERIC_READ);
        if (!file.IsOpen() || !IsRegularFile(file.Get()))
            return nullptr;
        return std::make_unique<CHostSource>(std::move(file));
    }

    std::unique_ptr<IFile> Create(const std::filesystem::path& path) override
    {
        return Open(path, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    }
    std::unique_ptr<IFile> CreateTemporary(const std::filesystem::path& path) override
    {
        return Open(path, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
    }
    std::unique_ptr<IFile> OpenExisting(const std::filesystem::path& path) override
    {
        return Open(path, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
    }

    std::error_code CreateFolder(const std::filesystem::path& path) override
    {
        return Result(::CreateDirectoryW(HostPath(path).c_str(), nullptr));
    }
    std::error_code Remove(const std::filesystem::path& path) override
    {
        const std::wstring name = HostPath(path);
        const DWORD attributes = ::GetFileAttributesW(name.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
            ::SetFileAttributesW(name.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
        return Result(::DeleteFileW(name.c_str()));
    }
    std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) override
    {
        return Result(::MoveFileExW(HostPath(from).c_str(), HostPath(to).c_str(), 0));
    }

private:
    /// Follows no link: what is written goes into the folder that was asked for. Empties the file unless it
    /// must exist.
    static std::unique_ptr<IFile> Open(const std::filesystem::path& path, DWORD disposition, DWORD flags)
    {
        const std::wstring name = HostPath(path);
        if (name.empty() || IsDevicePath(name))
            throw std::system_error(std::make_error_code(std::errc::invalid_argument), "open");
        const bool deletes = (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0;
        const DWORD access = GENERIC_READ | GENERIC_WRITE | (deletes ? DELETE : 0);
        CHandle file(::CreateFileW(name.c_str(), access, kShareReading, nullptr, disposition,
                                   flags | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (!file.IsOpen())
            RaiseLast("open");
        if (IsLink(file.Get()))
            throw std::system_error(std::make_error_code(std::errc::too_many_symbolic_link_levels), "open");
        auto opened = std::make_unique<CHostFile>(std::move(file));
        if (disposition != OPEN_EXISTING)
            opened->SetSize(0);
        return opened;
    }
};

}  // namespace

IFileSystem& HostFileSystem()
{
    static CHostFileSystem fileSystem;
    return fileSystem;
}

bool Exists(const std::filesystem::path& path)
{
    return ::GetFileAttributesW(HostPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string_view ForbiddenInNames()
{
    return R"(<>:"|?*)";
}

}  // namespace pastille::platform
