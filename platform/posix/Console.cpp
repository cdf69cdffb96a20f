#include "platform/Console.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

namespace pastille::platform {

CConsole::CConsole()
{
    // A reader that goes away and a file-size limit are failed writes like others, not the end of the
    // process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const char* const terminal = std::getenv("TERM");
    m_canRedraw = ::isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

CConsole::~CConsole() = default;

std::vector<std::string> ProgramArguments(int count, char** arguments)
{
    return {arguments + (count > 0 ? 1 : 0), arguments + count};
}

}  // namespace pastille::platform
