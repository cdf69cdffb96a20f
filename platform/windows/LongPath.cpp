#include "platform/FileSystem.h"
#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

constexpr std::wstring_view kVerbatim = L"\\\\?\\";
constexpr std::wstring_view kDevice = L"\\\\.\\";
constexpr std::wstring_view kShare = L"\\\\";
/// Of folders, which leave room for a short file name; shorter than MAX_PATH.
constexpr std::size_t kLongestPlain = 247;

std::wstring FullPath(const std::wstring& path)
{
    std::wstring full(MAX_PATH, L'\0');
    // Once more when it is longer; the current folder may change in between.
    for (int attempt = 0; attempt < 4; ++attempt) {
        const DWORD length =
            ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
        if (length < full.size()) {
            full.resize(length);
            return full;
        }
        full.resize(length);
    }
    return {};
}

}  // namespace

bool IsDevicePath(std::wstring_view fullPath)
{
    return fullPath.starts_with(kDevice);
}

std::wstring HostPath(const std::filesystem::path& path)
{
    std::wstring full = FullPath(path.native());
    if (full.size() <= kLongestPlain || full.starts_with(kVerbatim) || IsDevicePath(full))
        return full;
    if (full.starts_with(kShare))
        return std::wstring(kVerbatim) + L"UNC" + full.substr(1);
    return std::wstring(kVerbatim) + full;
}

std::filesystem::path WholePath(const std::filesystem::path& path)
{
    std::wstring full = FullPath(path.native());
    return full.empty() ? path : std::filesystem::path(std::move(full));
}

}  // namespace pastille::platform
