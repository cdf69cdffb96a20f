#pragma once

#include <optional>
#include <string>

#include "cli/Command.h"
#include "platform/Text.h"

namespace pastille::cli {

/// `list STORE`: the folders of a store, or the items of one of them, read through the component.
class CListCommand final : public ICommand {
public:
    void Declare(CLI::App& program) override;
    bool IsChosen() const override;
    ExitStatus Execute(CommandContext& context) override;

private:
    CLI::App* m_command = nullptr;  ///< owned by the program
    std::string m_store;
    std::optional<std::string> m_folder;
    std::string m_codePage = platform::DefaultCodePage();
    bool m_json = false;
};

}  // namespace pastille::cli
