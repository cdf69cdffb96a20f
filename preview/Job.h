#pragma once

#include <functional>
#include <memory>

class QObject;

namespace pastille::preview {

/// What a job knows of its owner.
class IJobOwner {
public:
    virtual ~IJobOwner() = default;
    /// True when the owner wants nothing more: the job should end at its next step.
    virtual bool IsCancelled() const = 0;
    /// Calls a function on the windows' thread, soon, unless the owner wants nothing more by then. Returns
    /// when the owner has seen most of what was delivered before, so that a quick job floods no windows.
    virtual void Deliver(std::function<void()> function) = 0;
};

/// Work on a thread of its own for an object of the windows' thread, which never waits for it: a job that was
/// cancelled ends by itself and reaches the owner no more.
class CJob {
public:
    /// The receiver must outlive this object.
    explicit CJob(QObject& receiver) : m_receiver(receiver) {}
    ~CJob() { Cancel(); }
    CJob(const CJob&) = delete;
    CJob& operator=(const CJob&) = delete;

    /// Cancels the job before, if any. `work` must hold whatever it needs by itself. False when the host has
    /// no thread left for it.
    bool Start(std::function<void(IJobOwner& owner)> work);
    void Cancel();

private:
    class CState;
    QObject& m_receiver;
    std::shared_ptr<CState> m_state;
};

}  // namespace pastille::preview
