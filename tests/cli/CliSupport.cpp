#include "tests/cli/CliSupport.h"

#include "cli/CommandLine.h"
#include "component/BuiltInComponent.h"
#include "platform/FileSystem.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace pastille::tests {
namespace {

struct Pipe {
    int readEnd;
    int writeEnd;
};

Pipe MakePipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    return {ends[0], ends[1]};
}

/// The child's side of fork: does not return.
[[noreturn]] void BecomeProgram(const std::vector<std::string>& arguments, const std::filesystem::path& home,
                                const Pipe& out, const Pipe& err)
{
    std::vector<char*> argv{const_cast<char*>(PASTILLE_PROGRAM)};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    ::setenv("PASTILLE_HOME", home.c_str(), 1);
    ::dup2(out.writeEnd, STDOUT_FILENO);
    ::dup2(err.writeEnd, STDERR_FILENO);
    ::execv(PASTILLE_PROGRAM, argv.data());
    ::_exit(127);
}

/// Appends what can be read now. False at the end of the stream.
bool Drain(int fd, std::string& into)
{
    std::array<char, 4096> buffer{};
    const ssize_t got = ::read(fd, buffer.data(), buffer.size());
    if (got > 0)
        into.append(buffer.data(), static_cast<std::size_t>(got));
    return got > 0 || (got < 0 && errno == EINTR);
}

void Collect(pid_t pid, const Pipe& out, const Pipe& err, CommandResult& result,
             const std::function<void(pid_t, const std::string&)>& watch)
{
    std::array<pollfd, 2> streams{{{out.readEnd, POLLIN, 0}, {err.readEnd, POLLIN, 0}}};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        if (std::chrono::steady_clock::now() > deadline)
            ::kill(pid, SIGKILL);
        ::poll(streams.data(), streams.size(), 1000);
        if (streams[0].revents != 0 && !Drain(out.readEnd, result.out))
            streams[0].fd = -1;
        if (streams[1].revents == 0)
            continue;
        if (!Drain(err.readEnd, result.err))
            streams[1].fd = -1;
        else if (watch)
            watch(pid, result.err);
    }
}

}  // namespace

CommandResult RunHere(const std::vector<std::string>& arguments, const std::filesystem::path& home,
                      bool errIsTerminal)
{
    std::ostringstream out;
    std::ostringstream err;
    component::CBuiltInComponent component(platform::HostFileSystem(), home / "data/profiles");
    cli::CommandContext context{out, err, errIsTerminal, platform::HostFileSystem(), component};
    const cli::ExitStatus status = cli::RunCommandLine(arguments, context);
    return {static_cast<int>(status), out.str(), err.str()};
}

CommandResult RunProgram(const std::vector<std::string>& arguments, const std::filesystem::path& home,
                         const std::function<void(pid_t, const std::string&)>& watch, OutputReader reader)
{
    Pipe out = MakePipe();
    const Pipe err = MakePipe();
    if (reader == OutputReader::GoesAway) {
        ::close(out.readEnd);
        out.readEnd = -1;
    }
    const pid_t pid = ::fork();
    if (pid < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (pid == 0)
        BecomeProgram(arguments, home, out, err);
    ::close(out.writeEnd);
    ::close(err.writeEnd);

    CommandResult result;
    Collect(pid, out, err, result, watch);
    if (out.readEnd >= 0)
        ::close(out.readEnd);
    ::close(err.readEnd);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result;
}

std::vector<std::string> Listing(const std::filesystem::path& folder)
{
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        paths.push_back(entry.path().lexically_relative(folder).string());
    std::ranges::sort(paths);
    return paths;
}

std::string Squeezed(std::string text)
{
    std::erase(text, ' ');
    return text;
}

}  // namespace pastille::tests
