#include "cli/CommandLine.h"
#include "component/BuiltInComponent.h"
#include "platform/Console.h"
#include "platform/FileSystem.h"
#include "platform/Host.h"

#include <cstdio>
#include <exception>
#include <iostream>

int main(int argc, char** argv)
try {
    using namespace pastille;
    const platform::CConsole console;
    component::CBuiltInComponent component(platform::HostFileSystem(),
                                           platform::UserDataFolder() / "profiles");
    cli::CommandContext context{std::cout, std::cerr, console.CanRedraw(), platform::HostFileSystem(),
                                component};
    return static_cast<int>(cli::RunCommandLine(platform::ProgramArguments(argc, argv), context));
} catch (const std::exception& error) {
    std::fprintf(stderr, "Error: %s\n", error.what());
    return 1;
}
