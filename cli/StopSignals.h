#pragma once

#include <signal.h>

#include <atomic>

namespace pastille::cli {

/// While it lives, the first SIGINT or SIGTERM sets a flag, and the next one ends the process as usual. One
/// at a time.
class CStopSignals {
public:
    /// The flag must outlive this object.
    explicit CStopSignals(std::atomic<bool>& flag);
    ~CStopSignals();
    CStopSignals(const CStopSignals&) = delete;
    CStopSignals& operator=(const CStopSignals&) = delete;

private:
    struct sigaction m_previousInterrupt {};
    struct sigaction m_previousTerminate {};
};

}  // namespace pastille::cli
