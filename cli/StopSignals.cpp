#include "cli/StopSignals.h"

#include <cerrno>

namespace pastille::cli {
namespace {

std::atomic<std::atomic<bool>*> g_flag{nullptr};
static_assert(std::atomic<std::atomic<bool>*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "a signal handler may only touch lock-free atomics");

/// Only calls that are safe in a signal handler.
extern "C" void OnStopSignal(int)
{
    const int savedErrno = errno;
    if (std::atomic<bool>* flag = g_flag.load())
        flag->store(true);
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    ::sigaction(SIGINT, &byDefault, nullptr);
    ::sigaction(SIGTERM, &byDefault, nullptr);
    errno = savedErrno;
}

}  // namespace

CStopSignals::CStopSignals(std::atomic<bool>& flag)
{
    g_flag.store(&flag);
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGINT);
    sigaddset(&action.sa_mask, SIGTERM);
    ::sigaction(SIGINT, &action, &m_previousInterrupt);
    ::sigaction(SIGTERM, &action, &m_previousTerminate);
}

CStopSignals::~CStopSignals()
{
    ::sigaction(SIGINT, &m_previousInterrupt, nullptr);
    ::sigaction(SIGTERM, &m_previousTerminate, nullptr);
    g_flag.store(nullptr);
}

}  // namespace pastille::cli
