#pragma once

#include <string>
#include <vector>

#include "cli/Command.h"

namespace pastille::cli {

/// Parses the arguments (without the program's name) and runs the command that they name. Whatever goes wrong
/// is told on the streams; nothing is thrown.
ExitStatus RunCommandLine(const std::vector<std::string>& arguments, CommandContext& context);

}  // namespace pastille::cli
