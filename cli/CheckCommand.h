#pragma once

#include <string>

#include "cli/Command.h"

namespace pastille::cli {

/// `check FILE`: tells what in a store breaks the rules of the format, and changes nothing.
class CCheckCommand final : public ICommand {
public:
    void Declare(CLI::App& program) override;
    bool IsChosen() const override;
    ExitStatus Execute(CommandContext& context) override;

private:
    CLI::App* m_command = nullptr;  ///< owned by the program
    std::string m_file;
    bool m_json = false;
};

}  // namespace pastille::cli
