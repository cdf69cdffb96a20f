#include "app/CommandLine.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace pastille::app {
namespace {

std::filesystem::path WholePath(std::string_view text)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(text, error);
    return error ? std::filesystem::path(text) : whole;
}

constexpr const char* kHelp =
    "Usage: pastille-gui [OPTIONS] [FILE]\n"
    "Recovers what a damaged Outlook PST or OST file still holds into a new PST file.\n\n"
    "  FILE          Show this store instead of the wizard; it is only read\n\n"
    "Options:\n"
    "  -h,--help     Print this help message and exit\n"
    "  --version     Print the version and exit\n";

}  // namespace

Arguments ReadArguments(std::span<const char* const> arguments)
{
    Arguments read;
    bool areOptionsOver = false;
    for (const std::string_view argument : arguments) {
        const bool isOption = !areOptionsOver && argument.size() > 1 && argument.front() == '-';
        if (!isOption && argument.empty())
            read.complaint = "The name of a file must not be empty.";
        else if (!isOption && !read.store.empty())
            read.complaint = "Only one file can be shown.";
        else if (!isOption)
            read.store = WholePath(argument);
        else if (argument == "--")
            areOptionsOver = true;
        else
            read.complaint = "There is no option \"" + std::string(argument) + "\".";
        if (!read.complaint.empty())
            break;
    }
    return read;
}

bool AnswersInText(std::span<const char* const> arguments)
{
    // Options of the toolkit may stand before.
    const auto asks = [&](const char* option) {
        const auto end = std::ranges::find(arguments, std::string_view("--"));
        return std::find(arguments.begin(), end, std::string_view(option)) != end;
    };
    if (asks("-h") || asks("--help"))
        std::fputs(kHelp, stdout);
    else if (asks("--version"))
        std::puts("pastille-gui " PASTILLE_VERSION);
    else
        return false;
    return true;
}

}  // namespace pastille::app
