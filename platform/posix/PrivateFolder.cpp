#include "platform/posix/PrivateFolder.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

namespace pastille::platform {
namespace {

namespace fs = std::filesystem;

fs::path HomeOfEntry()
{
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd* found = nullptr;
    int error = 0;
    while ((error = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE &&
           buffer.size() < 1u << 20)
        buffer.resize(2 * buffer.size());
    return error == 0 && found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "";
}

}  // namespace

fs::path HomeFolder()
{
    if (const char* const stated = std::getenv("HOME"); stated != nullptr && fs::path(stated).is_absolute())
        return stated;
    std::error_code error;
    const fs::path home = HomeOfEntry();
    return home.is_absolute() && fs::is_directory(home, error) ? home : fs::path();
}

bool IsPrivateFolder(const fs::path& folder)
{
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

fs::path PrivateFolder(const fs::path& parent)
{
    const fs::path folder = parent / ("pastille-" + std::to_string(::geteuid()));
    int error = ::mkdir(folder.c_str(), S_IRWXU) == 0 ? 0 : errno;
    // Who has made one of that name before us could read what we keep there, or lead us elsewhere by a link.
    if (error == EEXIST)
        error = IsPrivateFolder(folder) ? 0 : EPERM;
    if (error != 0)
        throw std::system_error(error, std::generic_category(),
                                "There is no home folder for data, and " + folder.native() +
                                    " cannot be used instead. Set PASTILLE_HOME to a folder of your own");
    return folder;
}

}  // namespace pastille::platform
