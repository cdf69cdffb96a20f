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

/// Runs a program, its output going to a file. False when it is not there or fails.
bool RunProgram(std::vector<std::string> arguments, const std::filesystem::path& output = "/dev/null")
{
    std::vector<char*> values;
    for (std::string& argument : arguments)
        values.push_back(argument.data());
    values.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT, 0600);
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
    constexpr std::size_t kDigits = 5;
    return name.size() > kDigits && name.find_last_not_of("0123456789") + kDigits + 1 == name.size();
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
    if (!RunProgram({"readpst", "-q", "-D", "-te", "-o", out.Path(), store}))
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
    if (!RunProgram({"pffexport", "-q", "-m", "items", "-t", out / "found", store}, out / "output"))
        return std::nullopt;
    OutsideCount count;
    CountItemFolders(out / "found.export", "", count);
    // Items of classes that it has no form for are only named.
    std::ifstream output(out / "output");
    for (std::string line; std::getline(output, line);)
        count.messages += line.starts_with("Skipped item") ? 1 : 0;
    return count;
}

}  // namespace pastille::tests
