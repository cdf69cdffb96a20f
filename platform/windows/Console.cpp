#include "platform/Console.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

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

}  // namespace

CConsole::CConsole()
{
    Prepare(stdout);
    Prepare(stderr);
    const HANDLE error = ::GetStdHandle(STD_ERROR_HANDLE);
    m_savedCodePage = ::GetConsoleOutputCP();
    if (m_savedCodePage != 0)
        ::SetConsoleOutputCP(CP_UTF8);
    DWORD modes = 0;
    if (::GetFileType(error) != FILE_TYPE_CHAR || !::GetConsoleMode(error, &modes))
        return;
    m_savedModes = modes;
    m_canRedraw =
        ::SetConsoleMode(error, modes | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

CConsole::~CConsole()
{
    std::fflush(stdout);
    std::fflush(stderr);
    if (m_canRedraw)
        ::SetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), m_savedModes);
    if (m_savedCodePage != 0)
        ::SetConsoleOutputCP(m_savedCodePage);
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
