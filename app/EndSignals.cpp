#include "app/EndSignals.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace pastille::app {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

std::array<int, 2> g_pipe{-1, -1};

/// Only calls that are safe in a signal handler.
extern "C" void OnEndSignal(int)
{
    const int savedErrno = errno;
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(g_pipe[1], &byte, 1);
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);
    errno = savedErrno;
}

}  // namespace

CEndSignals::CEndSignals(std::function<void()> onSignal)
{
    if (::pipe2(g_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(g_pipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this, onSignal = std::move(onSignal)] {
                         m_notifier->setEnabled(false);
                         onSignal();
                     });
    for (const int signal : kSignals)
        std::signal(signal, OnEndSignal);
}

CEndSignals::~CEndSignals()
{
    if (m_notifier == nullptr)
        return;
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);
    m_notifier.reset();
    for (const int end : g_pipe)
        ::close(end);
}

}  // namespace pastille::app
