#include "cli/ScanCommand.h"

#include "cli/RunDisplay.h"
#include "cli/ScanReport.h"
#include "cli/StopSignals.h"
#include "recovery/Survey.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <variant>

namespace pastille::cli {
namespace {

/// A scan that is stopped leaves nothing behind that a box could name.
class CScanDisplay final : public platform::IFrontEnd {
public:
    explicit CScanDisplay(CRunDisplay& display) : m_display(display) {}

    void Send(const platform::Message& message) override
    {
        const auto* box = std::get_if<platform::BoxMessage>(&message);
        if (box != nullptr && box->icon == platform::BoxMessage::Icon::Information)
            m_display.Send(platform::BoxMessage{u"The scan was stopped.", box->caption, box->icon});
        else
            m_display.Send(message);
    }

private:
    CRunDisplay& m_display;
};

}  // namespace

void CScanCommand::Declare(CLI::App& program)
{
    m_command = program.add_subcommand("scan", "Tell what a repair would bring, without writing anything");
    m_options.Declare(*m_command);
}

bool CScanCommand::IsChosen() const
{
    return m_command != nullptr && m_command->parsed();
}

ExitStatus CScanCommand::Execute(CommandContext& context)
{
    ScanReport report;
    {
        CRunDisplay display(context.err, m_options.ProgressMode(context), kScanCaptions);
        Scan(context, display, report);
        report.messages = display.Texts();
    }
    return m_options.WriteReport(context, report);
}

void CScanCommand::Scan(CommandContext& context, CRunDisplay& display, ScanReport& report) const
{
    const platform::RunSettings settings = m_options.Settings();
    report.sourcePath = settings.sourcePath;
    report.smartScan = settings.smartScan;
    platform::RunState state;
    const CStopSignals signals(state.stopRequested);
    CScanDisplay frontEnd(display);
    try {
        recovery::CSurvey survey;
        store::COutLook engine(context.fileSystem, frontEnd, survey);
        engine.Run(settings, state);
        if (display.LastPhase() > kValidationPhase)
            report.figures = engine.Figures();
        report.findings = survey.Findings();
    } catch (const std::exception& error) {
        display.ShowError(error.what());
    }
    report.status = StatusAfter(display, state);
    if (report.status != RunStatus::Stopped && !report.findings && display.Texts().empty())
        display.ShowError("The scan ended without a result.");
    if (report.status == RunStatus::Done && !report.findings)
        report.status = RunStatus::Failed;
}

}  // namespace pastille::cli
