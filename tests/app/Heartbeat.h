#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <memory>

namespace pastille::tests {

/// Measures how long the windows went without a turn in which they could paint or answer. Time in which their
/// thread was ready and other processes had the processors does not count: it is the machine's, not theirs.
class CHeartbeat {
public:
    CHeartbeat();
    ~CHeartbeat();
    CHeartbeat(const CHeartbeat&) = delete;
    CHeartbeat& operator=(const CHeartbeat&) = delete;

    /// Ends the measuring; the longest time without a turn, in ms.
    int Longest();

private:
    void Beat();

    std::unique_ptr<QTimer> m_timer;
    QElapsedTimer m_sinceLast;
    long long m_waited = 0;   // ns of the windows' thread in the run queue, up to the last turn
    long long m_longest = 0;  // ns
};

}  // namespace pastille::tests
