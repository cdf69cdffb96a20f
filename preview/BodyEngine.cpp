#include "preview/BodyEngine.h"

#include <QByteArray>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QOpenGLContext>

#ifdef Q_OS_LINUX
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace pastille::preview {
namespace {

/// The user may have said that the engine is to run without a sandbox.
bool IsSandboxUnwanted()
{
    return qEnvironmentVariableIntValue("QTWEBENGINE_DISABLE_SANDBOX") != 0 ||
           qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").contains("--no-sandbox");
}

#ifdef Q_OS_LINUX
/// Tries in a child process what the engine's sandbox is made of: namespaces of its own and a root folder of
/// its own. Some hosts grant the first and refuse the second.
bool TrySandbox()
{
    const pid_t child = ::fork();
    if (child == 0) {
        const bool can =
            ::unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET) == 0 && ::chroot("/proc/self/fdinfo") == 0;
        ::_exit(can ? 0 : 1);
    }
    if (child < 0)
        return false;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool HasSandbox()
{
    return ::geteuid() != 0 && TrySandbox();
}
#else
bool HasSandbox()
{
    return true;
}
#endif

bool HasProgram()
{
    if (qEnvironmentVariableIsSet("QTWEBENGINEPROCESS_PATH"))
        return QFileInfo(qEnvironmentVariable("QTWEBENGINEPROCESS_PATH")).isExecutable();
    return QFileInfo(QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath) +
                     QStringLiteral("/QtWebEngineProcess"))
        .isExecutable();
}

bool HasGraphics()
{
    return qgetenv("QT_QUICK_BACKEND") == "software" || QOpenGLContext().create();
}

}  // namespace

bool CanRunBodyEngine()
{
    static const bool can = HasProgram() && (IsSandboxUnwanted() || HasSandbox()) && HasGraphics();
    return can;
}

}  // namespace pastille::preview
