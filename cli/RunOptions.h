#pragma once

#include <ostream>
#include <string>

#include "cli/Command.h"
#include "cli/ProgressLine.h"
#include "cli/RunStatus.h"
#include "platform/RunState.h"
#include "platform/Text.h"

namespace pastille::cli {

class CRunDisplay;

/// What the process returns for it.
ExitStatus StatusCode(RunStatus status);

/// The arguments that all commands with a run share.
struct RunOptions {
    std::string source;
    std::string codePage = platform::DefaultCodePage();
    bool smartScan = false;
    bool json = false;
    bool quiet = false;

    void Declare(CLI::App& command);
    /// Without a destination.
    platform::RunSettings Settings() const;
    CProgressLine::Mode ProgressMode(const CommandContext& context) const;

    /// Prints a report in the form asked for. When it cannot be printed, that is told and is a failure.
    template <class Report>
    ExitStatus WriteReport(CommandContext& context, const Report& report) const
    {
        if (json)
            WriteJson(context.out, report);
        else
            WriteText(context.out, report);
        return StatusOfOutput(context, StatusCode(report.status));
    }
};

// Complaints about an argument, "" when there is nothing to complain about.
std::string RefuseEmpty(const std::string& text);
std::string RefuseUnknownCodePage(const std::string& name);

/// How a run has ended, as far as it told.
RunStatus StatusAfter(const CRunDisplay& display, const platform::RunState& state);

}  // namespace pastille::cli
