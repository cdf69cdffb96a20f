#pragma once

#include <atomic>

namespace pastille::cli {

/// While it lives, the first request of the user or the system to end (SIGINT, SIGTERM; Ctrl+C, Ctrl+Break, a
/// console that is closed) sets a flag, and the next one ends the process as usual. One at a time.
class CStopSignals {
public:
    /// The flag must outlive this object.
    explicit CStopSignals(std::atomic<bool>& flag);
    ~CStopSignals();
    CStopSignals(const CStopSignals&) = delete;
    CStopSignals& operator=(const CStopSignals&) = delete;
};

}  // namespace pastille::cli
