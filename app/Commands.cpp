#include "app/Commands.h"

namespace pastille::app {

std::span<const CommandInfo> AllCommands()
{
    static constexpr CommandInfo kCommands[] = {
        {Command::RepairPstFile, u"&Repair PST File", "Alt+R", ":/icons/repair.svg", u"Repair PST File",
         u"Repair PST File", true},
        {Command::OpenStore, u"&Open...", "Ctrl+O", ":/icons/open.svg",
         u"Look into an Outlook data file without repairing it", u"Open"},
        {Command::Exit, u"Exit", "Alt+F4", ":/icons/exit.svg", u"Exit application", u""},
        {Command::Content, u"Content", "F1", ":/icons/help.svg", u"Launch help manual", u"Contents", true},
        {Command::Updates, u"Updates", "", ":/icons/updates.svg", u"Product updates", u"Updates", true},
        {Command::HowToRepair, u"How to repair outlook data file (.pst) ?", "", ":/icons/how-to-repair.svg",
         u"Displays the recovery procedure", u""},
        {Command::HowToImport, u"How to import recovered outlook data file (.pst) ?", "",
         ":/icons/how-to-import.svg", u"Displays procedure for importing a recovered .pst file ", u""},
        {Command::About, u"About Us", "Alt+B", ":/icons/about.svg", u"Displays the About Us screen", u""},
        {Command::RecoverAndSave, u"&Recover && save", "", ":/icons/success.svg",
         u"Select scan option and destination path", u"Recover & save"},
        {Command::Customize, u"Customize...", "", "", u"", u""},
    };
    return kCommands;
}

QList<Command> DefaultToolBar()
{
    QList<Command> commands;
    for (const CommandInfo& command : AllCommands()) {
        if (command.onToolbar)
            commands.append(command.command);
    }
    return commands;
}

}  // namespace pastille::app
