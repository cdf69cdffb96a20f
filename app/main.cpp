#include "app/CommandLine.h"
#include "app/EndSignals.h"
#include "app/Host.h"
#include "app/MainFrame.h"
#include "app/PastilleApp.h"
#include "component/BuiltInComponent.h"
#include "platform/FileSystem.h"
#include "platform/Host.h"

#include <QApplication>
#include <QIcon>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>

int main(int argc, char** argv)
try {
    using namespace pastille;
    // A reader that goes away and a file-size limit are failed writes like others, not the end of the
    // process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    const auto arguments = [&] {
        return std::span<const char* const>(argv + (argc > 0 ? 1 : 0), argv + argc);
    };
    if (app::AnswersInText(arguments()))
        return 0;
    QApplication application(argc, argv);  // takes its own options out of the arguments
    const app::Arguments read = app::ReadArguments(arguments());
    if (!read.complaint.empty()) {
        std::fprintf(stderr, "%s\nRun with --help for more information.\n", read.complaint.c_str());
        return 2;
    }
    Q_INIT_RESOURCE(pastille);
    QApplication::setApplicationName(QStringLiteral("pastille-gui"));
    QApplication::setApplicationVersion(QStringLiteral(PASTILLE_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.pastille.Pastille"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/pastille.svg")));

    app::CHost host;
    component::CBuiltInComponent component(platform::HostFileSystem(),
                                           platform::UserDataFolder() / "profiles");
    app::CPastilleApp pastille(host, platform::HostFileSystem(), component);
    const app::CEndSignals endSignals([&pastille] {
        if (app::CMainFrame* frame = pastille.MainFrame()) {
            frame->CloseWithoutAsking();
            frame->close();
        }
        QApplication::quit();
    });
    if (!pastille.InitInstance(read.store))
        return 1;
    const int status = QApplication::exec();
    // At once: what still reads a store for a pane that has gone may wait for a dead disk.
    std::fflush(nullptr);
    std::_Exit(status);
} catch (const std::exception& error) {
    std::fprintf(stderr, "Error: %s\n", error.what());
    return 1;
}
