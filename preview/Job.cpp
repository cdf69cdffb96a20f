#include "preview/Job.h"

#include <QMetaObject>
#include <QObject>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace pastille::preview {
namespace {

/// Deliveries that may wait for the windows.
constexpr int kMostUnseen = 4;

}  // namespace

/// Shared by the owner, the thread and the calls on their way.
class CJob::CState final : public IJobOwner, public std::enable_shared_from_this<CState> {
public:
    explicit CState(QObject& receiver) : m_receiver(&receiver) {}

    bool IsCancelled() const override
    {
        std::scoped_lock lock(m_mutex);
        return m_receiver == nullptr;
    }
    void Deliver(std::function<void()> function) override
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_receiver == nullptr || m_unseen < kMostUnseen; });
        if (m_receiver == nullptr)
            return;
        ++m_unseen;
        // Posted under the lock: the receiver is there until Cancel has had it.
        QMetaObject::invokeMethod(
            m_receiver, [self = shared_from_this(), function = std::move(function)] { self->See(function); },
            Qt::QueuedConnection);
    }
    void Cancel()
    {
        {
            std::scoped_lock lock(m_mutex);
            m_receiver = nullptr;
        }
        m_changed.notify_all();
    }

private:
    void See(const std::function<void()>& function)
    {
        {
            std::scoped_lock lock(m_mutex);
            --m_unseen;
            if (m_receiver == nullptr)
                return;
        }
        m_changed.notify_all();
        function();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    QObject* m_receiver;
    int m_unseen = 0;
};

bool CJob::Start(std::function<void(IJobOwner&)> work)
{
    Cancel();
    m_state = std::make_shared<CState>(m_receiver);
    try {
        std::thread([state = m_state, work = std::move(work)]() mutable {
            work(*state);
            work = nullptr;  // what it holds goes on this thread
        }).detach();
    } catch (const std::system_error&) {
        m_state.reset();
        return false;
    }
    return true;
}

void CJob::Cancel()
{
    if (m_state != nullptr)
        m_state->Cancel();
    m_state.reset();
}

}  // namespace pastille::preview
