#include "cli/RepairCommand.h"

#include "cli/CheckReport.h"
#include "cli/RunDisplay.h"
#include "cli/RunReport.h"
#include "cli/StopSignals.h"
#include "platform/FileSystem.h"
#include "platform/RunState.h"
#include "platform/Text.h"
#include "recovery/RecoveryPipeline.h"
#include "recovery/RunSummary.h"
#include "recovery/complete/AccountReport.h"

#include <CLI/CLI.hpp>

#include <atomic>
#include <chrono>
#include <exception>
#include <utility>

namespace pastille::cli {
namespace {

constexpr unsigned kSetUpPhase = 3;

std::filesystem::path ExistingOrEmpty(const std::filesystem::path& path)
{
    return platform::Exists(path) ? path : std::filesystem::path();
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
    if (report.status == RunStatus::Done && report.outputPath.empty() && !state.outputPath.empty()) {
        // Somebody has taken it away while the run was writing into it.
        display.ShowError("The new store is no longer at its place: " +
                          platform::PathBytes(state.outputPath));
        report.status = RunStatus::Failed;
        report.reason = "output-missing";
        return;
    }
    if (report.status == RunStatus::Failed) {
        // No items counted: there is no store, or it cannot be read.
        if (auto left = display.Summary().Count(context.component, state); left.total != 0)
            report.summary = std::move(left);
        return;
    }
    if (state.outputPath.empty())
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
    m_options.Declare(*m_command);
    m_command
        ->add_option("--to", m_destination,
                     "An existing folder; the new store and the log go into a folder of their own below it")
        ->required()
        ->check(RefuseEmpty)
        ->option_text("FOLDER REQUIRED");
    m_command->add_flag("--complete", m_complete,
                        "Complete recovery: every item of any class with all its properties, once, in its "
                        "newest version");
    m_command
        ->add_option("--kind", m_kind,
                     "What the source is, when its header does not tell it: pst or ost; for --complete only")
        ->check(CLI::IsMember({"pst", "ost"}))
        ->needs("--complete")
        ->option_text("KIND");
    m_command->add_flag("--verify", m_verify, "Check the new store in the end, as the command check does");
}

bool CRepairCommand::IsChosen() const
{
    return m_command != nullptr && m_command->parsed();
}

platform::RunSettings CRepairCommand::Settings() const
{
    platform::RunSettings settings = m_options.Settings();
    settings.destinationFolder = platform::WholePath(platform::PathOfBytes(m_destination));
    settings.complete = m_complete;
    if (!m_kind.empty())
        settings.kind = m_kind == "ost" ? platform::SourceKind::Ost : platform::SourceKind::Pst;
    return settings;
}

ExitStatus CRepairCommand::Execute(CommandContext& context)
{
    RunReport report;
    {
        CRunDisplay display(context.err, m_options.ProgressMode(context));
        Repair(context, display, report);
        if (m_verify)
            Verify(context, display, report);
        report.messages = display.Texts();
    }
    return m_options.WriteReport(context, report);
}

void CRepairCommand::Repair(CommandContext& context, CRunDisplay& display, RunReport& report) const
{
    const platform::RunSettings settings = Settings();
    report.sourcePath = settings.sourcePath;
    report.complete = settings.complete;
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
        report.account = recovery.Account();
        if (report.account)
            report.accountPath = ExistingOrEmpty(state.outputFolder / recovery::complete::kReportFileName);
        if (recovery.Failure())
            report.reason = ReasonText(*recovery.Failure());
    } catch (const std::exception& error) {
        display.ShowError(error.what());
    }
    report.status = StatusAfter(display, state);
    if (report.status == RunStatus::Failed && display.Texts().empty())
        display.ShowError("The run ended without a result.");
    Conclude(context, state, display, report);
}

void CRepairCommand::Verify(CommandContext& context, CRunDisplay& display, RunReport& report) const
{
    if (report.outputPath.empty())
        return;
    // The report of a run that is done is not lost to a signal: the check goes to its end.
    std::atomic<bool> stopRequested = false;
    const CStopSignals signals(stopRequested);
    report.check = CheckFile(context.fileSystem, report.outputPath);
    if (report.check->status != CheckReport::Status::Errors &&
        report.check->status != CheckReport::Status::Unreadable)
        return;
    display.ShowError("The new store is not sound: " + Summary(*report.check));
    report.status = RunStatus::Failed;
}

}  // namespace pastille::cli
