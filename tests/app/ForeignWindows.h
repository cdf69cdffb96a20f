#pragma once

#include <string>
#include <vector>

namespace pastille::tests {

/// Titles of the visible top-level windows on this display, whosever they are.
std::vector<std::string> WindowTitles();

/// Presses Alt and a letter in the windows of that title; false when there is none. Letter 0: closes them by
/// their close box instead.
bool PressAltIn(const std::string& title, char letter);

}  // namespace pastille::tests
