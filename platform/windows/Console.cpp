#include "platform/Console.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <mutex>

#include "platform/Text.h"
#include "platform/windows/Win32.h"

#include <shellapi.h>

namespace pastille::platform {
namespace {

/// As bytes, without carriage returns, and a whole text at a time: the console joins no character from parts.
void Prepare(std::FILE* stream)
{
    constexpr std::size_t kBuffer = 65536;
    ::_setmode(::_fileno(stream), _O_BINARY);
    std::setvbuf(stream, nullptr, _IOFBF, kBuffer);
}

/// How the console was before us. It is shared with the program that started this one, and stays when this
/// one ends.
struct SavedConsole {
    UINT codePage = 0;         ///< 0: nothing is to be given back
    HANDLE redrawn = nullptr;  ///< the screen whose modes are to be given back
    DWORD modes = 0;
};

/// Of the handler below, which comes on a thread of the system's, possibly while the process ends.
std::mutex g_mutex;
SavedConsole g_saved;

void GiveBack()
{
    const std::scoped_lock lock(g_mutex);
    if (g_saved.redrawn != nullptr)
        ::SetConsoleMode(g_saved.redrawn, g_saved.modes);
    if (g_saved.codePage != 0)
        ::SetConsoleOutputCP(g_saved.codePage);
    g_saved = {};
}

/// Comes behind the handlers of a run, when these let the event end the process, which runs no destructors.
BOOL WINAPI OnConsoleEvent(DWORD)
{
    GiveBack();
    return FALSE;
}

}  // namespace

CConsole::CConsole()
{
    Prepare(stdout);
    Prepare(stderr);
    SavedConsole saved;
    saved.codePage = ::GetConsoleOutputCP();
    const HANDLE error = ::GetStdHandle(STD_ERROR_HANDLE);
    if (::GetFileType(error) == FILE_TYPE_CHAR && ::GetConsoleMode(error, &saved.modes))
        saved.redrawn = error;
    {
        const std::scoped_lock lock(g_mutex);
        g_saved = saved;
    }
    ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    if (saved.codePage != 0)
        ::SetConsoleOutputCP(CP_UTF8);
    m_canRedraw = saved.redrawn != nullptr && ::SetConsoleMode(error, saved.modes | ENABLE_PROCESSED_OUTPUT |
                                                                          ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

CConsole::~CConsole()
{
    std::fflush(stdout);
    std::fflush(stderr);
    ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    GiveBack();
}

std::vector<std::string> ProgramArguments(int, char**)
{
    int count = 0;
    LPWSTR* const all = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(ToUtf8(Utf16(all[i])));
    ::LocalFree(all);
    return arguments;
}

}  // namespace pastille::platform
