#include "platform/Host.h"

#include <sys/random.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <random>

namespace pastille::platform {
namespace {

std::filesystem::path UserFolder(const char* ownName, const char* xdgVariable, const char* below)
{
    const auto variable = [](const char* name) -> std::filesystem::path {
        const char* value = std::getenv(name);
        return value != nullptr ? value : "";
    };
    if (const auto home = variable("PASTILLE_HOME"); !home.empty())
        return home / ownName;
    if (const auto folder = variable(xdgVariable); folder.is_absolute())
        return folder / "pastille";
    if (const auto home = variable("HOME"); !home.empty())
        return home / below / "pastille";
    return std::filesystem::temp_directory_path() / "pastille" / ownName;
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

bool HasOwnHome()
{
    const char* value = std::getenv("PASTILLE_HOME");
    return value != nullptr && *value != '\0';
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
