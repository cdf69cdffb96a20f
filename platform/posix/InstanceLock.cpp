#include "platform/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace pastille::platform {

CInstanceLock::CInstanceLock(const std::filesystem::path& file)
{
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    // Programs that this one starts must not inherit the lock; a FIFO of that name must not be waited for.
    m_fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
    if (m_fd < 0)
        return;
    int result = 0;
    do {
        result = ::flock(m_fd, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result == 0)
        m_state = State::Held;
    else if (errno == EWOULDBLOCK)
        m_state = State::HeldByOther;
}

CInstanceLock::~CInstanceLock()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

}  // namespace pastille::platform
