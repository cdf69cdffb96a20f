#include "cli/CommandLine.h"

#include "cli/CheckCommand.h"
#include "cli/CheckReport.h"
#include "cli/ListCommand.h"
#include "cli/ListReport.h"
#include "cli/RepairCommand.h"
#include "cli/RunReport.h"
#include "cli/ScanCommand.h"
#include "cli/ScanReport.h"
#include "cli/TerminalText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <ostream>
#include <sstream>

namespace pastille::cli {
namespace {

constexpr const char* kDescription =
    "Recovers what a damaged Outlook PST or OST file still holds into a new PST file.";
constexpr const char* kExitStatuses =
    "Exit status: 0 done, 1 the run failed, 2 wrong usage, 3 stopped by a signal.";

template <class Report>
void WriteFailure(CommandContext& context, const std::string& message)
{
    Report report;
    report.messages.push_back(message);
    WriteJson(context.out, report);
}

/// The command is the first argument that is no option.
std::string CommandOf(const std::vector<std::string>& arguments)
{
    const auto command = std::ranges::find_if(
        arguments, [](const std::string& argument) { return !argument.starts_with('-'); });
    return command != arguments.end() ? *command : std::string();
}

/// Help and version go to the output stream, complaints to the error stream.
ExitStatus AnswerParseError(const CLI::App& program, const CLI::ParseError& error,
                            const std::vector<std::string>& arguments, CommandContext& context)
{
    std::ostringstream answer;
    std::ostringstream complaint;
    if (program.exit(error, answer, complaint) == 0) {
        context.out << answer.str() << std::flush;
        return ExitStatus::Done;
    }
    context.err << Printable(complaint.str(), LineBreaks::Keep) << std::flush;
    if (std::ranges::count(arguments, "--json") == 0)
        return ExitStatus::Usage;
    const std::string command = CommandOf(arguments);
    if (command == "scan")
        WriteFailure<ScanReport>(context, error.what());
    else if (command == "check")
        WriteFailure<CheckReport>(context, error.what());
    else if (command == "list")
        WriteListFailure(context.out, error.what());
    else
        WriteFailure<RunReport>(context, error.what());
    return ExitStatus::Usage;
}

}  // namespace

ExitStatus StatusOfOutput(CommandContext& context, ExitStatus status)
{
    if (context.out)
        return status;
    context.err << "Error: The result could not be written to the standard output." << std::endl;
    return ExitStatus::Failed;
}

ExitStatus RunCommandLine(const std::vector<std::string>& arguments, CommandContext& context)
try {
    CLI::App program(kDescription, "pastille");
    program.footer(kExitStatuses);
    program.set_version_flag("--version", "pastille " PASTILLE_VERSION, "Print the version and exit");
    // None at all is told below: the parser would tell that before it tells of a word that is no command.
    program.require_subcommand(0, 1);

    std::vector<std::unique_ptr<ICommand>> commands;
    commands.push_back(std::make_unique<CRepairCommand>());
    commands.push_back(std::make_unique<CScanCommand>());
    commands.push_back(std::make_unique<CListCommand>());
    commands.push_back(std::make_unique<CCheckCommand>());
    for (const auto& command : commands)
        command->Declare(program);

    try {
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        if (program.get_subcommands().empty())
            throw CLI::RequiredError("One of the commands repair, scan, list and check");
    } catch (const CLI::ParseError& error) {
        return AnswerParseError(program, error, arguments, context);
    }
    const auto chosen =
        std::ranges::find_if(commands, [](const auto& command) { return command->IsChosen(); });
    return chosen != commands.end() ? (*chosen)->Execute(context) : ExitStatus::Usage;
} catch (const std::exception& error) {
    context.err << "Error: " << Printable(error.what(), LineBreaks::Keep) << std::endl;
    return ExitStatus::Failed;
}

}  // namespace pastille::cli
