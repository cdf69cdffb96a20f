#pragma once

#include "cli/Command.h"
#include "cli/RunOptions.h"

namespace pastille::cli {

class CRunDisplay;
struct ScanReport;

/// `scan SOURCE`: tells what a repair would bring, and writes nothing.
class CScanCommand final : public ICommand {
public:
    void Declare(CLI::App& program) override;
    bool IsChosen() const override;
    ExitStatus Execute(CommandContext& context) override;

private:
    void Scan(CommandContext& context, CRunDisplay& display, ScanReport& report) const;

    CLI::App* m_command = nullptr;  ///< owned by the program
    RunOptions m_options;
};

}  // namespace pastille::cli
