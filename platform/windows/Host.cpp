#include "platform/Host.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <limits>
#include <new>
#include <random>

#include "platform/windows/Win32.h"

// These want the types of the header above.
#include <bcrypt.h>
#include <knownfolders.h>
#include <shlobj.h>

namespace pastille::platform {
namespace {

std::wstring Variable(const wchar_t* name)
{
    std::wstring value;
    // Once more when it is longer.
    for (DWORD length = MAX_PATH; value.size() < length;) {
        value.resize(length);
        length = ::GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
        if (length < value.size()) {
            value.resize(length);
            return value;
        }
    }
    return {};
}

std::filesystem::path KnownFolder(const KNOWNFOLDERID& id)
{
    PWSTR path = nullptr;
    std::filesystem::path folder;
    if (SUCCEEDED(::SHGetKnownFolderPath(id, 0, nullptr, &path)))
        folder = path;
    ::CoTaskMemFree(path);
    return folder;
}

std::filesystem::path UserFolder(const wchar_t* ownName, const KNOWNFOLDERID& id)
{
    if (const std::wstring home = Variable(L"PASTILLE_HOME"); !home.empty())
        return std::filesystem::path(home) / ownName;
    if (const auto folder = KnownFolder(id); !folder.empty())
        return folder / L"Pastille" / ownName;
    return std::filesystem::temp_directory_path() / L"Pastille" / ownName;
}

}  // namespace

std::filesystem::path UserDataFolder()
{
    return UserFolder(L"data", FOLDERID_LocalAppData);
}

std::filesystem::path UserConfigFolder()
{
    return UserFolder(L"config", FOLDERID_RoamingAppData);
}

std::filesystem::path UserRuntimeFolder()
{
    return UserFolder(L"state", FOLDERID_LocalAppData);
}

bool HasOwnHome()
{
    return !Variable(L"PASTILLE_HOME").empty();
}

std::string LocalTimeText(std::chrono::system_clock::time_point moment)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
    std::tm local{};
    if (::localtime_s(&local, &seconds) != 0)
        return {};
    return TimeText(local);
}

void FillRandom(std::span<std::byte> bytes)
{
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), std::size_t{1} << 20));
        if (::BCryptGenRandom(nullptr, reinterpret_cast<PUCHAR>(piece.data()),
                              static_cast<ULONG>(piece.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG) != 0) {
            std::random_device device;
            for (std::byte& byte : piece)
                byte = static_cast<std::byte>(device());
        }
        bytes = bytes.subspan(piece.size());
    }
}

}  // namespace pastille::platform
