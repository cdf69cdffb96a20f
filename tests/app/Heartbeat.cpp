#include "tests/app/Heartbeat.h"

#include <algorithm>
#include <fstream>

#include "tests/app/Person.h"

namespace pastille::tests {
namespace {

/// Nanoseconds for which the calling thread was ready but not running; 0 where the host does not tell.
long long RunQueueWait()
{
    long long ran = 0;
    long long waited = 0;
    std::ifstream("/proc/thread-self/schedstat") >> ran >> waited;
    return waited;
}

}  // namespace

CHeartbeat::CHeartbeat()
{
    CPerson::OnUi([this] {
        m_timer = std::make_unique<QTimer>();
        QObject::connect(m_timer.get(), &QTimer::timeout, [this] { Beat(); });
        m_waited = RunQueueWait();
        m_sinceLast.start();
        m_timer->start(1);
    });
}

CHeartbeat::~CHeartbeat()
{
    Longest();
}

int CHeartbeat::Longest()
{
    CPerson::OnUi([this] {
        if (m_timer != nullptr)
            Beat();
        m_timer.reset();
    });
    return static_cast<int>(m_longest / 1'000'000);
}

void CHeartbeat::Beat()
{
    const long long waited = RunQueueWait();
    const long long passed = m_sinceLast.nsecsElapsed();
    m_sinceLast.start();
    m_longest = std::max(m_longest, passed - (waited - m_waited));
    m_waited = waited;
}

}  // namespace pastille::tests
