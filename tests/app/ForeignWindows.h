#pragma once

#include <string>
#include <vector>

namespace pastille::tests {

/// Titles of the visible top-level windows of a process on this display, whoever started it.
std::vector<std::string> WindowTitles(long long processId);

/// Closes the process's window of that title by its close box. False when there is none.
bool CloseWindowOf(long long processId, const std::string& title);

/// Presses Alt and a letter in each of the process's windows of that title. False when there is none.
bool PressAltIn(long long processId, const std::string& title, char letter);

}  // namespace pastille::tests
