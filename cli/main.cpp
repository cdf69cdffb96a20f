#include "cli/CommandLine.h"
#include "component/BuiltInComponent.h"
#include "platform/FileSystem.h"
#include "platform/Host.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv)
try {
    using namespace pastille;
    // A reader that goes away and a file-size limit are failed writes like others, not the end of the
    // process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    component::CBuiltInComponent component(platform::HostFileSystem(),
                                           platform::UserDataFolder() / "profiles");
    cli::CommandContext context{std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1,
                                platform::HostFileSystem(), component};
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return static_cast<int>(cli::RunCommandLine(arguments, context));
} catch (const std::exception& error) {
    std::fprintf(stderr, "Error: %s\n", error.what());
    return 1;
}
