#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace pastille::app {

/// What the desktop program was started with.
struct Arguments {
    std::filesystem::path store;  ///< to be shown at first, absolute; empty: none
    std::string complaint;        ///< what is wrong, one line; empty: nothing
};

/// Reads the arguments after the program's name. Those that the toolkit knows must have been taken out.
Arguments ReadArguments(std::span<const char* const> arguments);

/// Answers --help and --version on the output stream, which needs no display. False when neither is asked
/// for.
bool AnswersInText(std::span<const char* const> arguments);

}  // namespace pastille::app
