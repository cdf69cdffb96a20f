#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {

struct CommandResult {
    int status = -1;  ///< exit status; of a process that a signal ended, minus the signal's number
    std::string out;
    std::string err;
};

/// Runs a command line in this process, with the built-in component and its profiles below `home`.
CommandResult RunHere(const std::vector<std::string>& arguments, const std::filesystem::path& home,
                      bool errIsTerminal = false);

enum class OutputReader { Waits, GoesAway };

/// Runs the real program with PASTILLE_HOME set to `home`. `watch` sees the error stream as it grows, and the
/// process id, so that a test can act at a certain moment. A program that runs for a minute is killed.
/// A reader that goes away has closed its end of the output stream before the program starts.
CommandResult RunProgram(const std::vector<std::string>& arguments, const std::filesystem::path& home,
                         const std::function<void(pid_t, const std::string& err)>& watch = {},
                         OutputReader reader = OutputReader::Waits);

/// A home, a place for files, and a command run on one of them.
struct CommandFixture {
    const char* command;
    CTemporaryFolder scratch{};
    std::filesystem::path source = scratch / "mail.pst";
    std::filesystem::path home = scratch.MakeFolder("home");

    CommandResult Run(const std::filesystem::path& of, const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> arguments{command, of.string()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunHere(arguments, home);
    }
};

/// Paths of everything below a folder, relative to it, in order.
std::vector<std::string> Listing(const std::filesystem::path& folder);

/// Without blanks, by which columns are aligned.
std::string Squeezed(std::string text);

}  // namespace pastille::tests
