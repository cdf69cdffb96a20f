#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <span>
#include <string>

namespace pastille::platform {

/// Per-user folder for data (profiles). PASTILLE_HOME/data when that variable is set, else
/// XDG_DATA_HOME/pastille, else .local/share/pastille in the home folder; on Windows
/// %LOCALAPPDATA%\Pastille\data. Not created here. Users without a home have a folder in that for temporary files
/// which others cannot enter; it is created, and std::system_error raised when somebody else has it.
std::filesystem::path UserDataFolder();
/// Per-user folder for configuration, found in the same way: PASTILLE_HOME/config, XDG_CONFIG_HOME or .config;
/// %APPDATA%\Pastille\config.
std::filesystem::path UserConfigFolder();
/// Per-user folder for what no other session needs to know: PASTILLE_HOME/state; XDG_RUNTIME_DIR/pastille,
/// where that is no folder for this user alone, in XDG_STATE_HOME or .local/state; %LOCALAPPDATA%\Pastille\state.
std::filesystem::path UserRuntimeFolder();
/// True when PASTILLE_HOME keeps this program's data and configuration apart from the user's.
bool HasOwnHome();

/// The moment as local time in the run log's form, as "Sunday, November 22, 2026,21:05:09".
std::string LocalTimeText(std::chrono::system_clock::time_point moment);
/// The same of a broken-down time, in English whatever the user's language.
std::string TimeText(const std::tm& time);

/// Fills `bytes` with random bytes from the host.
void FillRandom(std::span<std::byte> bytes);

}  // namespace pastille::platform
