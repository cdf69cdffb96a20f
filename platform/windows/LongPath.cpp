#include <algorithm>
#include <array>

#include "platform/FileSystem.h"
#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

constexpr std::wstring_view kVerbatim = L"\\\\?\\";
constexpr std::wstring_view kVerbatimShare = L"UNC\\";
constexpr std::wstring_view kDevice = L"\\\\.\\";
constexpr std::wstring_view kShare = L"\\\\";
/// Of folders, which leave room for a short file name; shorter than MAX_PATH.
constexpr std::size_t kLongestPlain = 247;

wchar_t LowerOf(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
}

bool StartsWithNoCase(std::wstring_view text, std::wstring_view start)
{
    return std::ranges::equal(text.substr(0, start.size()), start, {}, LowerOf, LowerOf);
}

/// What the host takes as it is written, without looking for "." and "..".
bool IsVerbatim(std::wstring_view path)
{
    return path.starts_with(kVerbatim);
}

std::wstring FullPath(const std::wstring& path)
{
    if (IsVerbatim(path))
        return path;
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

/// Of "server\share\...": the shares by which servers, this machine too, give out pipes and mailslots.
bool IsDeviceShare(std::wstring_view path)
{
    constexpr std::array<std::wstring_view, 3> kDeviceShares{L"pipe", L"mailslot", L"ipc$"};
    const std::size_t end = path.find(L'\\');
    if (end == std::wstring_view::npos)
        return false;
    const std::wstring_view behind = path.substr(end + 1);
    const std::wstring_view share = behind.substr(0, behind.find(L'\\'));
    return std::ranges::any_of(kDeviceShares, [share](std::wstring_view name) {
        return name.size() == share.size() && StartsWithNoCase(share, name);
    });
}

/// "X:\..."
bool IsOnDrive(std::wstring_view path)
{
    return path.size() >= 3 && LowerOf(path[0]) >= L'a' && LowerOf(path[0]) <= L'z' &&
           path.substr(1, 2) == L":\\";
}

}  // namespace

bool IsDevicePath(std::wstring_view fullPath)
{
    if (fullPath.starts_with(kDevice))
        return true;
    if (IsVerbatim(fullPath)) {
        // From here the whole of the system's objects can be named, of which few are file systems.
        const std::wstring_view behind = fullPath.substr(kVerbatim.size());
        if (StartsWithNoCase(behind, kVerbatimShare))
            return IsDeviceShare(behind.substr(kVerbatimShare.size()));
        return !IsOnDrive(behind) && !StartsWithNoCase(behind, L"Volume{");
    }
    return fullPath.starts_with(kShare) && IsDeviceShare(fullPath.substr(kShare.size()));
}

std::wstring HostPath(const std::filesystem::path& path)
{
    std::wstring full = FullPath(path.native());
    if (full.size() <= kLongestPlain || IsVerbatim(full) || IsDevicePath(full))
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
