#include "platform/Processes.h"

#include <sys/utsname.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

namespace pastille::platform {
namespace {

namespace fs = std::filesystem;

/// What the kernel adds to the name of a program file that has been deleted or replaced since.
constexpr std::string_view kDeleted = " (deleted)";

bool IsNumber(const std::string& text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// The process's own name, which emulators set to that of the program they run. Its state follows it: "id
/// (name) state ...".
std::string NameOf(const fs::path& process)
{
    std::ifstream file(process / "stat", std::ios::binary);
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    const std::size_t open = line.find('(');
    const std::size_t close = line.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return {};
    const bool ended = line.compare(close, 3, ") Z") == 0 || line.compare(close, 3, ") X") == 0;
    return ended ? std::string() : line.substr(open + 1, close - open - 1);
}

bool HasName(const fs::path& process, const std::string& name)
{
    std::error_code error;
    std::string program = fs::read_symlink(process / "exe", error).filename().string();
    if (error)
        return false;
    if (program.ends_with(kDeleted))
        program.resize(program.size() - kDeleted.size());
    return program == name || NameOf(process) == name;
}

}  // namespace

bool IsProcessRunning(const std::string& name)
{
    std::error_code error;
    fs::directory_iterator entry("/proc", error);
    while (!error && entry != fs::directory_iterator()) {
        if (IsNumber(entry->path().filename().string()) && HasName(entry->path(), name))
            return true;
        entry.increment(error);
    }
    return false;
}

unsigned OsMajorVersion()
{
    utsname names{};
    unsigned version = 0;
    if (::uname(&names) == 0) {
        const std::string_view release = names.release;
        std::from_chars(release.data(), release.data() + release.size(), version);
    }
    return version;
}

}  // namespace pastille::platform
