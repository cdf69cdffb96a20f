#pragma once

namespace pastille::platform {
class CRegistry;
}

namespace pastille::app {

class IHost;

/// The name, exactly, of the mail client's process.
inline constexpr char kMailClientProcess[] = "OUTLOOK.EXE";

/// True when the registry says that Outlook 2000 is installed in its mode for Internet mail only.
bool IsInternetMailOnly(const platform::CRegistry& registry);

/// Switches Outlook 2000 to its other mode: starts it when it does not run, so that it installs what it
/// needs, and sets the mode. Takes 0.4 s.
void SwitchMailMode(IHost& host, platform::CRegistry& registry);

}  // namespace pastille::app
