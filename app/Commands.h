#pragma once

#include <QList>

#include <span>
#include <string_view>

namespace pastille::app {

/// The frame's commands, with their numbers.
enum class Command {
    Exit = 32772,
    Updates = 32776,
    HowToRepair = 32777,
    HowToImport = 32778,
    RepairPstFile = 32780,
    Content = 32781,
    RecoverAndSave = 32782,
    OpenStore = 32790,
    Customize = 35001,
    About = 57664,
    ToggleToolbar = 59392,
};

struct CommandInfo {
    Command command;
    std::u16string_view text;    ///< with the "&" of its letter
    const char* shortcut;        ///< "" for none
    const char* icon;            ///< name of a resource, "" for none
    std::u16string_view prompt;  ///< of the status bar
    std::u16string_view title;   ///< of the tooltip
    bool onToolbar = false;      ///< of a toolbar that nobody has changed
};

/// All of them but the toggle, which the toolbar brings along.
std::span<const CommandInfo> AllCommands();

/// Those of a toolbar that nobody has changed, in their order.
QList<Command> DefaultToolBar();

}  // namespace pastille::app
