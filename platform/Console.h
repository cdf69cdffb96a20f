#pragma once

#include <string>
#include <vector>

namespace pastille::platform {

/// The console or the streams that a command-line program writes to. One at a time, made before anything is
/// written: text is UTF-8 while it lives. The console is given back as it was, also when the user ends the process.
class CConsole {
public:
    CConsole();
    ~CConsole();
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    /// True when the error stream is a terminal that can redraw a line in place.
    bool CanRedraw() const { return m_canRedraw; }

private:
    bool m_canRedraw = false;
};

/// The arguments of the process behind its name, as UTF-8 where the host has them as text.
std::vector<std::string> ProgramArguments(int count, char** arguments);

}  // namespace pastille::platform
