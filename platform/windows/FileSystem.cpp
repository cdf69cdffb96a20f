#include "platform/FileSystem.h"

#include <algorithm>
#include <cstring>

#include "platform/windows/ReadAround.h"
#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

/// Nobody keeps us from reading a file, whatever he has it open for.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// Of a file that is being written there is one writer.
constexpr DWORD kShareReading = FILE_SHARE_READ | FILE_SHARE_DELETE;
/// Should a name lead to a pipe all the same, the program behind it learns who we are and no more.
constexpr DWORD kIdentifiedOnly = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;

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

std::size_t ReadFully(HANDLE file, std::uint64_t offset, std::span<std::byte> into) noexcept
{
    const auto read = [file](std::uint64_t at, std::span<std::byte> bytes, DWORD& got) -> DWORD {
        OVERLAPPED place = PlaceAt(at);
        return ::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, &place)
                   ? 0
                   : ::GetLastError();
    };
    return ReadAround(read, offset, into);
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

/// The tag of a file that is not read as it lies on the disk; 0 of all others.
DWORD ReparseTag(HANDLE file)
{
    FILE_ATTRIBUTE_TAG_INFO info{};
    const bool hasTag = ::GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof info) &&
                        (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return hasTag ? info.ReparseTag : 0;
}

bool IsRegularFile(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION info{};
    return ::GetFileType(file) == FILE_TYPE_DISK && ::GetFileInformationByHandle(file, &info) &&
           (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsSameFile(HANDLE left, HANDLE right)
{
    FILE_ID_INFO leftId{}, rightId{};
    return ::GetFileInformationByHandleEx(left, FileIdInfo, &leftId, sizeof leftId) &&
           ::GetFileInformationByHandleEx(right, FileIdInfo, &rightId, sizeof rightId) &&
           leftId.VolumeSerialNumber == rightId.VolumeSerialNumber &&
           std::memcmp(&leftId.FileId, &rightId.FileId, sizeof leftId.FileId) == 0;
}

[[noreturn]] void Raise(std::errc reason)
{
    throw std::system_error(std::make_error_code(reason), "open");
}

std::wstring NameForOpening(const std::filesystem::path& path)
{
    std::wstring name = HostPath(path);
    if (name.empty() || IsDevicePath(name))
        Raise(std::errc::invalid_argument);
    return name;
}

/// Opens a file for writing. Follows no link (symbolic, or a mounted folder): what is written goes into the
/// folder that was asked for.
CHandle OpenForWriting(const std::wstring& name, DWORD access, DWORD disposition, DWORD flags)
{
    const auto open = [&](DWORD right, DWORD share, DWORD how, DWORD more) {
        CHandle file(
            ::CreateFileW(name.c_str(), right, share, nullptr, how, flags | kIdentifiedOnly | more, nullptr));
        if (!file.IsOpen())
            RaiseLast("open");
        return file;
    };
    CHandle file = open(access, kShareReading, disposition, FILE_FLAG_OPEN_REPARSE_POINT);
    if (const DWORD tag = ReparseTag(file.Get()); IsReparseTagNameSurrogate(tag)) {
        Raise(std::errc::too_many_symbolic_link_levels);
    } else if (tag != 0) {
        // A compressed file, a cloud's, ...: what was opened goes round the driver that makes its content.
        // The file stays held, without barring its own way, while it is opened again as others open it.
        file = CHandle();
        const CHandle held =
            open(FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
        file = open(access, kShareReading, OPEN_EXISTING, 0);
        if (IsReparseTagNameSurrogate(ReparseTag(held.Get())) || !IsSameFile(held.Get(), file.Get()))
            Raise(std::errc::too_many_symbolic_link_levels);
    }
    if (!IsRegularFile(file.Get()))
        Raise(std::errc::invalid_argument);
    return file;
}

/// Removes a file, through the handle that says what it is: no link, and open for writing nowhere else.
void RemoveLeftover(const std::wstring& name)
{
    const CHandle file = OpenForWriting(name, GENERIC_WRITE | DELETE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
    FILE_DISPOSITION_INFO disposition{TRUE};
    if (!::SetFileInformationByHandle(file.Get(), FileDispositionInfo, &disposition, sizeof disposition))
        RaiseLast("remove");
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
                                         FILE_ATTRIBUTE_NORMAL | kIdentifiedOnly, nullptr));
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
        auto file = std::make_unique<CHostFile>(OpenForWriting(
            NameForOpening(path), GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL));
        file->SetSize(0);
        return file;
    }
    std::unique_ptr<IFile> CreateTemporary(const std::filesystem::path& path) override
    {
        // Always a new file: one that is there keeps its attributes, and a link would be removed on closing.
        const std::wstring name = NameForOpening(path);
        const auto create = [&name] {
            constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE | DELETE;
            constexpr DWORD kFlags =
                FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE;
            return std::make_unique<CHostFile>(OpenForWriting(name, kAccess, CREATE_NEW, kFlags));
        };
        try {
            return create();
        } catch (const std::system_error& error) {
            if (error.code() != std::errc::file_exists)
                throw;
        }
        RemoveLeftover(name);
        return create();
    }
    std::unique_ptr<IFile> OpenExisting(const std::filesystem::path& path) override
    {
        return std::make_unique<CHostFile>(OpenForWriting(NameForOpening(path), GENERIC_READ | GENERIC_WRITE,
                                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
    }

    std::error_code CreateFolder(const std::filesystem::path& path) override
    {
        return Result(::CreateDirectoryW(HostPath(path).c_str(), nullptr));
    }
    std::error_code Remove(const std::filesystem::path& path) override
    {
        const std::wstring name = HostPath(path);
        const DWORD attributes = ::GetFileAttributesW(name.c_str());
        const bool isReadOnly =
            attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
        if (isReadOnly)
            ::SetFileAttributesW(name.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
        const std::error_code result = Result(::DeleteFileW(name.c_str()));
        if (result && isReadOnly)
            ::SetFileAttributesW(name.c_str(), attributes);
        return result;
    }
    std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) override
    {
        return Result(::MoveFileExW(HostPath(from).c_str(), HostPath(to).c_str(), 0));
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
