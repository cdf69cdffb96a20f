#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace pastille::app {

/// SIGINT, SIGTERM and SIGHUP as requests to end in good order: the first one of them is told to the windows'
/// thread, a second one ends the process at once. One object at a time.
class CEndSignals {
public:
    /// `onSignal` is called from the event loop of the thread that makes this object. Without a pipe of the
    /// host the signals keep what they do by themselves.
    explicit CEndSignals(std::function<void()> onSignal);
    ~CEndSignals();
    CEndSignals(const CEndSignals&) = delete;
    CEndSignals& operator=(const CEndSignals&) = delete;

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace pastille::app
