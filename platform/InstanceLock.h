#pragma once

#include <filesystem>

namespace pastille::platform {

/// Lets one instance run at a time: a lock on a file, held until the object or its process ends.
class CInstanceLock {
public:
    enum class State {
        Held,  ///< by this object
        HeldByOther,
        Failed,  ///< the file cannot be made or locked
    };

    /// Makes the file and its folder when they are missing, and tries to lock it. Does not wait.
    explicit CInstanceLock(const std::filesystem::path& file);
    ~CInstanceLock();
    CInstanceLock(const CInstanceLock&) = delete;
    CInstanceLock& operator=(const CInstanceLock&) = delete;

    State Result() const { return m_state; }

private:
    int m_fd = -1;
    State m_state = State::Failed;
};

}  // namespace pastille::platform
