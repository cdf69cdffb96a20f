#include "cli/CheckCommand.h"

#include "cli/CheckReport.h"
#include "cli/RunOptions.h"
#include "platform/FileSystem.h"
#include "platform/Text.h"

#include <CLI/CLI.hpp>

#include <ostream>

namespace pastille::cli {
namespace {

ExitStatus StatusCode(CheckReport::Status status)
{
    switch (status) {
        case CheckReport::Status::Errors:
            return ExitStatus::Failed;
        case CheckReport::Status::Unreadable:
            return ExitStatus::Unreadable;
        default:
            return ExitStatus::Done;
    }
}

}  // namespace

void CCheckCommand::Declare(CLI::App& program)
{
    m_command = program.add_subcommand("check", "Tell what in a store breaks the rules of the file format");
    m_command->add_option("STORE", m_file, "A PST or OST file; it is only read")
        ->required()
        ->check(RefuseEmpty)
        ->option_text("FILE REQUIRED");
    m_command->add_flag("--json", m_json, "Print the findings as one JSON object");
    m_command->footer(
        "Exit status: 0 no error (there may be warnings), 1 errors, 2 not readable as a store.");
}

bool CCheckCommand::IsChosen() const
{
    return m_command != nullptr && m_command->parsed();
}

ExitStatus CCheckCommand::Execute(CommandContext& context)
{
    const CheckReport report =
        CheckFile(context.fileSystem, platform::WholePath(platform::PathOfBytes(m_file)));
    if (m_json)
        WriteJson(context.out, report);
    else
        WriteText(context.out, report);
    return StatusOfOutput(context, StatusCode(report.status));
}

}  // namespace pastille::cli
