#include "platform/Host.h"

#include <sys/random.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <random>

#include "platform/posix/PrivateFolder.h"

namespace pastille::platform {
namespace {

std::filesystem::path Variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::filesystem::path UserFolder(const char* ownName, const char* xdgVariable, const char* below)
{
    if (const auto own = Variable("PASTILLE_HOME"); !own.empty())
        return own / ownName;
    if (const auto folder = Variable(xdgVariable); folder.is_absolute())
        return folder / "pastille";
    if (const auto home = HomeFolder(); !home.empty())
        return home / below / "pastille";
    return PrivateFolder(std::filesystem::temp_directory_path()) / ownName;
}

}  // namespace

std::filesystem::path UserDataFolder()
{
    return UserFolder("data", "XDG_DATA_HOME", ".local/share");
}

std::filesystem::path UserConfigFolder()
{
    return UserFolder("config", "XDG_CONFIG_HOME", ".config");
}

std::filesystem::path UserRuntimeFolder()
{
    // Who has become another user may still have the folder of the one that he was.
    const auto session = Variable("XDG_RUNTIME_DIR");
    if (!HasOwnHome() && session.is_absolute() && IsPrivateFolder(session))
        return session / "pastille";
    return UserFolder("state", "XDG_STATE_HOME", ".local/state");
}

bool HasOwnHome()
{
    return !Variable("PASTILLE_HOME").empty();
}

std::string LocalTimeText(std::chrono::system_clock::time_point moment)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    return TimeText(local);
}

void FillRandom(std::span<std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t got = ::getrandom(bytes.data(), bytes.size(), 0);
        if (got <= 0) {
            std::random_device device;
            for (std::byte& byte : bytes)
                byte = static_cast<std::byte>(device());
            return;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
}

}  // namespace pastille::platform
