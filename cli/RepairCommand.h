#pragma once

#include <string>

#include "cli/Command.h"

namespace pastille::platform {
struct RunSettings;
struct RunState;
}  // namespace pastille::platform

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
    platform::RunSettings Settings() const;
    void Repair(CommandContext& context, CRunDisplay& display, RunReport& report) const;

    CLI::App* m_command = nullptr;  ///< owned by the program
    std::string m_source;
    std::string m_destination;
    std::string m_codePage = "windows-1252";
    bool m_smartScan = false;
    bool m_json = false;
    bool m_quiet = false;
};

}  // namespace pastille::cli
