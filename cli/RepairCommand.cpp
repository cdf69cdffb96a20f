#include "cli/RepairCommand.h"

#include "cli/RunDisplay.h"
#include "cli/RunReport.h"
#include "cli/StopSignals.h"
#include "platform/RunState.h"
#include "platform/Text.h"
#include "recovery/RecoveryPipeline.h"
#include "recovery/RunSummary.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <ostream>
#include <system_error>
#include <utility>

namespace pastille::cli {
namespace {

constexpr unsigned kValidationPhase = 2;
constexpr unsigned kSetUpPhase = 3;

std::string RefuseUnknownCodePage(const std::string& name)
{
    return platform::CCodePage::IsKnown(name) ? "" : "The code page \"" + name + "\" is not known.";
}

std::string RefuseEmpty(const std::string& text)
{
    return text.empty() ? "A path must not be empty." : "";
}

/// The log and the messages name whole paths. ".." stays: after a symbolic link it is not the folder before.
std::filesystem::path WholePath(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path, error);
    if (error)
        return path;
    return std::ranges::find(whole, "..") == whole.end() ? whole.lexically_normal() : whole;
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

CProgressLine::Mode ProgressMode(bool quiet, bool isTerminal)
{
    if (quiet)
        return CProgressLine::Mode::Silent;
    return isTerminal ? CProgressLine::Mode::InPlace : CProgressLine::Mode::LinePerPhase;
}

std::filesystem::path ExistingOrEmpty(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error) ? path : std::filesystem::path();
}

/// Looks at what the run has left, counts the new store and completes the log.
void Conclude(CommandContext& context, const platform::RunState& state, CRunDisplay& display,
              RunReport& report)
{
    // A set-up that failed has left paths, but nothing of this run lies there.
    if (report.status == RunStatus::Failed && display.LastPhase() <= kSetUpPhase)
        return;
    report.outputPath = ExistingOrEmpty(state.outputPath);
    report.logPath = ExistingOrEmpty(state.logPath);
    if (report.status == RunStatus::Failed || state.outputPath.empty())
        return;
    auto counts = display.Summary().Write(context.component, context.fileSystem, state,
                                          [] { return std::chrono::system_clock::now(); });
    if (counts.opened) {
        report.summary = std::move(counts);
    } else {
        display.ShowError("The new store cannot be opened.");
        report.status = RunStatus::Failed;
    }
}

}  // namespace

void CRepairCommand::Declare(CLI::App& program)
{
    m_command = program.add_subcommand("repair", "Recover a damaged store into a new one");
    m_command->add_option("SOURCE", m_source, "The damaged PST or OST file; it is only read")
        ->required()
        ->check(RefuseEmpty);
    m_command
        ->add_option("--to", m_destination,
                     "An existing folder; the new store and the log go into a folder of their own below it")
        ->required()
        ->check(RefuseEmpty)
        ->option_text("FOLDER REQUIRED");
    m_command->add_flag("--smart", m_smartScan, "Smart Scan: also bring back what no node refers to");
    m_command->add_option("--code-page", m_codePage, "Code page of 8-bit texts (windows-1252)")
        ->check(RefuseUnknownCodePage)
        ->option_text("NAME");
    m_command->add_flag("--json", m_json, "Print the result as one JSON object");
    m_command->add_flag("--quiet", m_quiet, "Show no progress");
}

bool CRepairCommand::IsChosen() const
{
    return m_command != nullptr && m_command->parsed();
}

ExitStatus CRepairCommand::Execute(CommandContext& context)
{
    RunReport report;
    {
        CRunDisplay display(context.err, ProgressMode(m_quiet, context.errIsTerminal));
        Repair(context, display, report);
        report.messages = display.Texts();
    }
    if (m_json)
        WriteJson(context.out, report);
    else
        WriteText(context.out, report);
    if (!context.out)
        context.err << "Error: The result could not be written to the standard output." << std::endl;
    return StatusCode(report.status);
}

platform::RunSettings CRepairCommand::Settings() const
{
    return {.sourcePath = WholePath(m_source),
            .destinationFolder = WholePath(m_destination),
            .smartScan = m_smartScan,
            .codePage = m_codePage};
}

void CRepairCommand::Repair(CommandContext& context, CRunDisplay& display, RunReport& report) const
{
    const platform::RunSettings settings = Settings();
    report.sourcePath = settings.sourcePath;
    platform::RunState state;
    const CStopSignals signals(state.stopRequested);
    try {
        recovery::CRecoveryPipeline recovery(context.component);
        store::COutLook engine(context.fileSystem, display, recovery);
        engine.Run(settings, state);
        if (display.LastPhase() > kValidationPhase)
            report.figures = engine.Figures();
        if (display.LastPhase() > kSetUpPhase)
            report.folders = recovery.Figures().folders;
    } catch (const std::exception& error) {
        display.ShowError(error.what());
    }
    report.status = StatusAfter(display, state);
    if (report.status == RunStatus::Failed && display.Texts().empty())
        display.ShowError("The run ended without a result.");
    Conclude(context, state, display, report);
}

}  // namespace pastille::cli
