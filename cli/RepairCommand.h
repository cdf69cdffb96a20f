#pragma once

#include <string>

#include "cli/Command.h"
#include "cli/RunOptions.h"

namespace pastille::cli {

class CRunDisplay;
struct RunReport;

/// `repair SOURCE --to FOLDER`: one run, then its summary.
class CRepairCommand final : public ICommand {
public:
    void Declare(CLI::App& program) override;
    bool IsChosen() const override;
    ExitStatus Execute(CommandContext& context) override;

private:
    void Repair(CommandContext& context, CRunDisplay& display, RunReport& report) const;

    CLI::App* m_command = nullptr;  ///< owned by the program
    RunOptions m_options;
    std::string m_destination;
};

}  // namespace pastille::cli
