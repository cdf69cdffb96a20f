#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace pastille::platform {

/// A handle that is closed with the object. INVALID_HANDLE_VALUE says that there is none.
class CHandle {
public:
    explicit CHandle(HANDLE handle = INVALID_HANDLE_VALUE) noexcept : m_handle(handle) {}
    CHandle(CHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, INVALID_HANDLE_VALUE)) {}
    CHandle& operator=(CHandle&& other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~CHandle()
    {
        if (IsOpen())
            ::CloseHandle(m_handle);
    }
    HANDLE Get() const noexcept { return m_handle; }
    bool IsOpen() const noexcept { return m_handle != INVALID_HANDLE_VALUE && m_handle != nullptr; }

private:
    HANDLE m_handle;
};

/// A Win32 error number as the error of the generic category that says the same; io_error for the rest.
std::error_code Failure(DWORD error);

/// The full path that a call of the host is given: with the prefix that lifts the limit on its length when it
/// needs that. "" when it cannot be completed.
std::wstring HostPath(const std::filesystem::path& path);
/// True for a full path to a device, such as "\\.\NUL", rather than into a file system.
bool IsDevicePath(std::wstring_view fullPath);

inline std::u16string_view Utf16(std::wstring_view text)
{
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    return {reinterpret_cast<const char16_t*>(text.data()), text.size()};
}

}  // namespace pastille::platform
