#pragma once

#include <string>

#include "cli/Command.h"
#include "cli/RunOptions.h"

namespace pastille::cli {

class CRunDisplay;
struct RunReport;

/// `repair SOURCE --to FOLDER`: one run, then its summary, and the check of the new store when it is asked
/// for.
class CRepairCommand final : public ICommand {
public:
    void Declare(CLI::App& program) override;
    bool IsChosen() const override;
    ExitStatus Execute(CommandContext& context) override;

private:
    platform::RunSettings Settings() const;
    void Repair(CommandContext& context, CRunDisplay& display, RunReport& report) const;
    void Verify(CommandContext& context, CRunDisplay& display, RunReport& report) const;

    CLI::App* m_command = nullptr;  ///< owned by the program
    RunOptions m_options;
    std::string m_destination;
    bool m_complete = false;
    std::string m_kind;  ///< "pst", "ost" or empty
    bool m_verify = false;
};

}  // namespace pastille::cli
