#pragma once

#include <string>

namespace pastille::platform {

/// True when a process runs whose program file or own name is exactly `name`. Processes that may not be
/// looked into (those of other users) and ended ones that nobody has collected yet do not count.
bool IsProcessRunning(const std::string& name);

/// Major version of the operating system; 0 when it cannot be told.
unsigned OsMajorVersion();

}  // namespace pastille::platform
