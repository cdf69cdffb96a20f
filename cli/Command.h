#pragma once

#include <iosfwd>

namespace CLI {
class App;
}
namespace pastille::platform {
class IFileSystem;
}
namespace pastille::writer {
class IComponentFactory;
}

namespace pastille::cli {

/// What the process returns.
enum class ExitStatus : int {
    Done = 0,
    Failed = 1,          ///< the run failed; its message is on the error stream
    Usage = 2,           ///< the command line was wrong; nothing was done
    Stopped = 3,         ///< the run was stopped by a signal; what was written so far stays
    Unreadable = Usage,  ///< the file to be checked cannot be opened, or is no store
};

/// What a command works with. Everything outlives the command.
struct CommandContext {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal;  ///< progress may be drawn in place
    platform::IFileSystem& fileSystem;
    writer::IComponentFactory& component;
};

/// `status`, or Failed when the standard output has not taken all that was written to it, which is told.
ExitStatus StatusOfOutput(CommandContext& context, ExitStatus status);

/// One command of the command line.
class ICommand {
public:
    virtual ~ICommand() = default;
    /// Adds the command with its options to the program's. The options are kept in this object, which must
    /// live until the command line has been parsed.
    virtual void Declare(CLI::App& program) = 0;
    /// True after parsing when the command line names this command.
    virtual bool IsChosen() const = 0;
    virtual ExitStatus Execute(CommandContext& context) = 0;
};

}  // namespace pastille::cli
