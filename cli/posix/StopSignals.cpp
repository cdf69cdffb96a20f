#include "cli/StopSignals.h"

#include <signal.h>

#include <cerrno>

namespace pastille::cli {
namespace {

std::atomic<std::atomic<bool>*> g_flag{nullptr};
static_assert(std::atomic<std::atomic<bool>*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "a signal handler may only touch lock-free atomics");

std::atomic<bool> g_signalled{false};

struct sigaction g_previousInterrupt {};
struct sigaction g_previousTerminate {};

/// Only calls that are safe in a signal handler. Two signals at once may both come here, each on a
/// thread of its own, before the first has given the signals back: the second of them then ends the
/// process when this handler returns.
extern "C" void OnStopSignal(int signal)
{
    const int savedErrno = errno;
    const bool isSecond = g_signalled.exchange(true);
    if (std::atomic<bool>* flag = g_flag.load())
        flag->store(true);
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    ::sigaction(SIGINT, &byDefault, nullptr);
    ::sigaction(SIGTERM, &byDefault, nullptr);
    if (isSecond)
        ::raise(signal);
    errno = savedErrno;
}

}  // namespace

CStopSignals::CStopSignals(std::atomic<bool>& flag)
{
    g_signalled.store(false);
    g_flag.store(&flag);
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGINT);
    sigaddset(&action.sa_mask, SIGTERM);
    ::sigaction(SIGINT, &action, &g_previousInterrupt);
    ::sigaction(SIGTERM, &action, &g_previousTerminate);
}

CStopSignals::~CStopSignals()
{
    ::sigaction(SIGINT, &g_previousInterrupt, nullptr);
    ::sigaction(SIGTERM, &g_previousTerminate, nullptr);
    g_flag.store(nullptr);
}

}  // namespace pastille::cli
