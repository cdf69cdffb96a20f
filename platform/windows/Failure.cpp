#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

// Not in every host's headers.
constexpr DWORD kFileSystemLimitation = 665;
constexpr DWORD kDiskQuotaExceeded = 1295;

}  // namespace

std::error_code Failure(DWORD error)
{
    const auto reason = [error] {
        switch (error) {
            case ERROR_FILE_NOT_FOUND:
            case ERROR_PATH_NOT_FOUND:
            case ERROR_INVALID_DRIVE:
            case ERROR_BAD_NETPATH:
            case ERROR_BAD_NET_NAME:
                return std::errc::no_such_file_or_directory;
            case ERROR_ALREADY_EXISTS:
            case ERROR_FILE_EXISTS:
                return std::errc::file_exists;
            case ERROR_ACCESS_DENIED:
            case ERROR_SHARING_VIOLATION:
            case ERROR_LOCK_VIOLATION:
            case ERROR_WRITE_PROTECT:
                return std::errc::permission_denied;
            case ERROR_DISK_FULL:
            case ERROR_HANDLE_DISK_FULL:
            case kDiskQuotaExceeded:
                return std::errc::no_space_on_device;
            case ERROR_FILE_TOO_LARGE:
            case kFileSystemLimitation:
                return std::errc::file_too_large;
            case ERROR_INVALID_NAME:
            case ERROR_BAD_PATHNAME:
                return std::errc::invalid_argument;
            case ERROR_FILENAME_EXCED_RANGE:
                return std::errc::filename_too_long;
            case ERROR_CANT_RESOLVE_FILENAME:
                return std::errc::too_many_symbolic_link_levels;
            case ERROR_NOT_ENOUGH_MEMORY:
            case ERROR_OUTOFMEMORY:
                return std::errc::not_enough_memory;
            default:
                return std::errc::io_error;
        }
    }();
    return std::make_error_code(reason);
}

}  // namespace pastille::platform
