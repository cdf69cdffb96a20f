#include "tests/support/OutsideReaders.h"

#include <spawn.h>
#include <sys/wait.h>

#include <fcntl.h>

#include <fstream>
#include <vector>

#include "tests/support/FaultyFileSystem.h"

extern char** environ;

namespace pastille::tests {
namespace {

/// Runs a program without output. False when it is not there or fails.
bool RunQuietly(std::vector<std::string> arguments)
{
    std::vector<char*> values;
    for (std::string& argument : arguments)
        values.push_back(argument.data());
    values.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, values.front(), &actions, nullptr, values.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return error == 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

/// True for a folder that stands for one item, as "Message00012".
bool IsItemFolder(const std::string& name)
{
    static const std::vector<std::string> kinds = {
        "Message", "Contact", "Appointment", "Meeting",  "Task",          "Note",    "Activity",
        "Journal", "Common",  "Document",    "RSS feed", "Configuration", "Sharing", "Distribution List"};
    constexpr std::size_t kDigits = 5;
    if (name.size() <= kDigits || name.find_last_not_of("0123456789") + kDigits + 1 != name.size())
        return false;
    const std::string kind = name.substr(0, name.size() - kDigits);
    for (const std::string& known : kinds) {
        if (kind == known)
            return true;
    }
    return false;
}

void CountItemFolders(const std::filesystem::path& folder, const std::string& path, OutsideCount& count)
{
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (!entry.is_directory())
            continue;
        const std::string name = entry.path().filename();
        if (IsItemFolder(name)) {
            ++count.messages;
            ++count.perFolder[path];
        } else {
            CountItemFolders(entry.path(), path + "/" + name, count);
        }
    }
}

}  // namespace

std::optional<OutsideCount> CountWithReadpst(const std::filesystem::path& store)
{
    const CTemporaryFolder out;
    // -t e: mails alone, -D: deleted ones too; the exit status tells whether there was one folder at least.
    if (!RunQuietly({"readpst", "-q", "-D", "-te", "-o", out.Path(), store}))
        return std::nullopt;
    OutsideCount count;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(out.Path())) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            // Lines of a body that begin so are quoted by the writer of the mbox file.
            if (line.starts_with("From \"") || line.starts_with("From ")) {
                ++count.messages;
                ++count.perFolder[entry.path().stem()];
            }
        }
    }
    return count;
}

std::optional<OutsideCount> CountWithPffexport(const std::filesystem::path& store)
{
    const CTemporaryFolder out;
    if (!RunQuietly({"pffexport", "-q", "-m", "items", "-t", out / "found", store}))
        return std::nullopt;
    OutsideCount count;
    CountItemFolders(out / "found.export", "", count);
    return count;
}

}  // namespace pastille::tests
