#include "cli/StopSignals.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace pastille::cli {
namespace {

std::atomic<std::atomic<bool>*> g_flag{nullptr};
std::atomic<bool> g_signalled{false};

/// On a thread of the system's. FALSE leaves the event to the next handler, which ends the process.
BOOL WINAPI OnConsoleEvent(DWORD event)
{
    if (g_signalled.exchange(true))
        return FALSE;
    if (std::atomic<bool>* flag = g_flag.load())
        flag->store(true);
    // After these the process ends when the handler returns, or when the system has waited long enough.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        ::Sleep(INFINITE);
    return TRUE;
}

}  // namespace

CStopSignals::CStopSignals(std::atomic<bool>& flag)
{
    g_signalled.store(false);
    g_flag.store(&flag);
    // Whoever started the process may have had Ctrl+C ignored, which is inherited.
    ::SetConsoleCtrlHandler(nullptr, FALSE);
    ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

CStopSignals::~CStopSignals()
{
    ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    g_flag.store(nullptr);
}

}  // namespace pastille::cli
