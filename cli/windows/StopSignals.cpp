#include "cli/StopSignals.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <mutex>
#include <utility>

namespace pastille::cli {
namespace {

/// Guards the other two, and with them the flag: the handler may still run when it has been taken back.
std::mutex g_mutex;
std::atomic<bool>* g_flag = nullptr;
bool g_isSignalled = false;

/// On a thread of the system's. FALSE leaves the event to the next handler, which ends the process.
BOOL WINAPI OnConsoleEvent(DWORD event)
{
    {
        const std::scoped_lock lock(g_mutex);
        if (g_flag == nullptr || std::exchange(g_isSignalled, true))
            return FALSE;
        g_flag->store(true);
    }
    // After these the process ends when the handler returns, or when the system has waited long enough.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        ::Sleep(INFINITE);
    return TRUE;
}

}  // namespace

CStopSignals::CStopSignals(std::atomic<bool>& flag)
{
    {
        const std::scoped_lock lock(g_mutex);
        g_isSignalled = false;
        g_flag = &flag;
    }
    // Whoever started the process may have had Ctrl+C ignored, which is inherited.
    ::SetConsoleCtrlHandler(nullptr, FALSE);
    ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

CStopSignals::~CStopSignals()
{
    ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    const std::scoped_lock lock(g_mutex);
    g_flag = nullptr;
}

}  // namespace pastille::cli
