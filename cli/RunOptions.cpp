#include "cli/RunOptions.h"

#include "cli/RunDisplay.h"
#include "platform/FileSystem.h"
#include "platform/Text.h"

#include <CLI/CLI.hpp>

namespace pastille::cli {

void RunOptions::Declare(CLI::App& command)
{
    command.add_option("SOURCE", source, "The damaged PST or OST file; it is only read")
        ->required()
        ->check(RefuseEmpty);
    command.add_flag("--smart", smartScan,
                     "Smart Scan: also bring back items that nothing in the file refers to any more, such as "
                     "deleted ones");
    command.add_option("--code-page", codePage, "Code page of 8-bit texts (" + codePage + ")")
        ->check(RefuseUnknownCodePage)
        ->option_text("NAME");
    command.add_flag("--json", json, "Print the result as one JSON object");
    command.add_flag("--quiet", quiet, "Show no progress");
}

platform::RunSettings RunOptions::Settings() const
{
    return {.sourcePath = platform::WholePath(platform::PathOfBytes(source)),
            .destinationFolder = {},
            .smartScan = smartScan,
            .codePage = codePage};
}

CProgressLine::Mode RunOptions::ProgressMode(const CommandContext& context) const
{
    if (quiet)
        return CProgressLine::Mode::Silent;
    return context.errIsTerminal ? CProgressLine::Mode::InPlace : CProgressLine::Mode::LinePerPhase;
}

std::string RefuseUnknownCodePage(const std::string& name)
{
    return platform::CCodePage::IsKnown(name) ? "" : "The code page \"" + name + "\" is not known.";
}

std::string RefuseEmpty(const std::string& text)
{
    return text.empty() ? "A path must not be empty." : "";
}

RunStatus StatusAfter(const CRunDisplay& display, const platform::RunState& state)
{
    if (state.failed || display.ErrorShown())
        return RunStatus::Failed;
    if (display.Completed())
        return RunStatus::Done;
    return state.stopRequested ? RunStatus::Stopped : RunStatus::Failed;
}

ExitStatus StatusCode(RunStatus status)
{
    switch (status) {
        case RunStatus::Done:
            return ExitStatus::Done;
        case RunStatus::Stopped:
            return ExitStatus::Stopped;
        case RunStatus::Failed:
            break;
    }
    return ExitStatus::Failed;
}

}  // namespace pastille::cli
