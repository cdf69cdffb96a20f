#include "cli/CommandLine.h"

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
bool IsCommand(const std::vector<std::string>& arguments, std::string_view name)
{
    const auto command = std::ranges::find_if(
        arguments, [](const std::string& argument) { return !argument.starts_with('-'); });
    return command != arguments.end() && *command == name;
}

/// Help and version go to the output stream, complaints to the error stream.
ExitStatus AnswerParseError(const CLI::App& program, const CLI::ParseError& error, bool asJson, bool isScan,
                            CommandContext& context)
{
    std::ostringstream answer;
    std::ostringstream complaint;
    if (program.exit(error, answer, complaint) == 0) {
        context.out << answer.str() << std::flush;
        return ExitStatus::Done;
    }
    context.err << Printable(complaint.str(), LineBreaks::Keep) << std::flush;
    if (asJson && isScan)
        WriteFailure<ScanReport>(context, error.what());
    else if (asJson)
        WriteFailure<RunReport>(context, error.what());
    return ExitStatus::Usage;
}

}  // namespace

ExitStatus RunCommandLine(const std::vector<std::string>& arguments, CommandContext& context)
try {
    CLI::App program(kDescription, "pastille");
    program.footer(kExitStatuses);
    program.set_version_flag("--version", "pastille " PASTILLE_VERSION, "Print the version and exit");
    program.require_subcommand(1);

    std::vector<std::unique_ptr<ICommand>> commands;
    commands.push_back(std::make_unique<CRepairCommand>());
    commands.push_back(std::make_unique<CScanCommand>());
    for (const auto& command : commands)
        command->Declare(program);

    try {
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        return AnswerParseError(program, error, std::ranges::count(arguments, "--json") != 0,
                                IsCommand(arguments, "scan"), context);
    }
    const auto chosen =
        std::ranges::find_if(commands, [](const auto& command) { return command->IsChosen(); });
    return chosen != commands.end() ? (*chosen)->Execute(context) : ExitStatus::Usage;
} catch (const std::exception& error) {
    context.err << "Error: " << Printable(error.what(), LineBreaks::Keep) << std::endl;
    return ExitStatus::Failed;
}

}  // namespace pastille::cli
